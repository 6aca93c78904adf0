// Windows onto files that are mapped into memory.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

#include <cstddef>
#include <cstdint>

namespace qel::platform {

// A file may become shorter while a window shows it. Whole pages of the window that lie after the new end
// then read as zeros, and what is written there is lost: the first access to such a page raises SIGBUS, and
// the handler of this process replaces the page. The handler is installed with the first window and passes
// every other fault on to the handler that was there before. So a handler that is installed later must pass
// faults on as well; that of installCrashHandler() does.

/// Opens @p path for windows. @param forWriting  true if windows may be written to.
QEL_API FileError openForMapping(FileHandle& file, const char* path, bool forWriting);

/// Maps @p size bytes of a file, starting at @p offset. All windows of a file, in all processes, show the
/// same bytes.
/// @param address  receives the address of the first byte.
/// @param offset   a multiple of pageSize().
/// @param forWriting  must match how the file was opened.
/// @threads any thread.
QEL_API FileError mapWindow(void*& address, const FileHandle& file, std::uint64_t offset, std::size_t size,
                            bool forWriting);

/// Unmaps a window. @param address  as returned by mapWindow(); any other address has no effect.
/// @return true if the file covered the window at every access; false if a page had to be replaced.
/// @threads any thread; no thread may access the window any more.
QEL_API bool unmapWindow(void* address);

/// Returns once the changes to a part of a window are on disk.
/// @param address  a multiple of pageSize().
QEL_API FileError flushWindow(void* address, std::size_t size);

} // namespace qel::platform
