// Interprets the system's status of a file for the framework.
#pragma once

#include <qel/files/file.h>
#include <qel/platform/file_system.h>

namespace qel::internal {

/// Converts a point in time to a UTC stamp; times outside its range become the nearest stamp.
uint64 utcStampOf(const platform::FileTime& time);
/// Reads the status of the target of @p path, or the link's own if the target cannot be examined.
platform::FileError readNameStatus(platform::FileStatus& status, bool& isSymLink, const char* path,
                                   const platform::FileHandle& base = {});
/// Fills in all fields except the name.
void fillFileInfo(const platform::FileStatus& status, bool isSymLink, File::FileInfo& info);

} // namespace qel::internal
