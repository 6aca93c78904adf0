// Windows of files seen as memory.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

#include <cstddef>
#include <cstdint>

namespace qel::platform {

// A file may get shorter while a window shows it. What lay in the window behind the file's new end, in whole
// pages, then reads as zeros, and what is written there is lost: the first touch of such a page is a fault
// that the process's handler of memory faults mends. It is installed with the first window and passes every
// other fault on to the handler that was there before. So a window must not be shown to a handler installed
// later that does not pass faults on; that of installCrashHandler() does.

/// Opens @p path for windows. @param forWriting  the windows may be written.
QEL_API FileError openForMapping(FileHandle& file, const char* path, bool forWriting);

/// Shows @p size bytes of a file from @p offset on; all windows of a file, in all processes, show the same
/// bytes.
/// @param address     gets the first byte.
/// @param offset      a multiple of pageSize().
/// @param forWriting  as the file was opened.
/// @threads any thread.
QEL_API FileError mapWindow(void*& address, const FileHandle& file, std::uint64_t offset, std::size_t size,
                            bool forWriting);

/// Takes a window away. @param address  what mapWindow() gave; anything else does nothing.
/// @return whether all of the file was there whenever the window was touched; false after a page was mended.
/// @threads any thread; nobody may touch the window any more.
QEL_API bool unmapWindow(void* address);

/// Returns when the changes of a part of a window are on the disk.
/// @param address  a multiple of pageSize().
QEL_API FileError flushWindow(void* address, std::size_t size);

} // namespace qel::platform
