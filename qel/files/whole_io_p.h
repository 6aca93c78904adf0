// Reads whole open files.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/file_system.h>

namespace qel::internal {

using platform::FileError;
using platform::FileHandle;

/// Opens a file for reading; folders are refused.
FileError openForReading(FileHandle& file, const char* path, platform::Links links = platform::Links::Follow,
                         const FileHandle& base = {});
/// Fills @p size bytes, starting at @p offset. @p done is smaller if the file ends earlier.
FileError readFully(const FileHandle& file, uint64 offset, void* data, size_t size, size_t& done);
/// Returns "; " and the system's text for an error, for the end of a log line.
String describe(const FileError& error);
/// Logs a warning that @p path could not be read, copied, or whatever @p action names.
void warnNotDone(SmartCStr path, const char* action, const FileError& error);

} // namespace qel::internal
