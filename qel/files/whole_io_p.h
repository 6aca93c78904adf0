// Reading and writing of whole open files.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/file_system.h>

namespace qel::internal {

using platform::FileError;
using platform::FileHandle;

/// Opens a file for reading; a folder can't be opened.
FileError openForReading(FileHandle& file, const char* path, platform::Links links = platform::Links::Follow,
                         const FileHandle& base = {});
/// Fills @p size bytes from @p offset on. @p done is less when the file ends before.
FileError readFully(const FileHandle& file, uint64 offset, void* data, size_t size, size_t& done);
/// Writes all bytes at the current position.
FileError writeFully(FileHandle& file, const void* data, size_t size);
/// "; " and the system's text for an error, to end a log line with.
String describe(const FileError& error);
/// Warns that @p path could not be read, copied or whatever @p action says.
void warnNotDone(SmartCStr path, const char* action, const FileError& error);

} // namespace qel::internal
