// What the system's status of a name means to the framework.
#pragma once

#include <qel/files/file.h>
#include <qel/platform/file_system.h>

namespace qel::internal {

/// A point in time as UTC stamp; what a stamp can't hold becomes the nearest that it can.
uint64 utcStampOf(const platform::FileTime& time);
/// Reads the status of what @p path stands for, or the link's own if its target cannot be examined.
platform::FileError readNameStatus(platform::FileStatus& status, bool& isSymLink, const char* path,
                                   const platform::FileHandle& base = {});
/// Fills all fields but the name.
void fillFileInfo(const platform::FileStatus& status, bool isSymLink, File::FileInfo& info);

} // namespace qel::internal
