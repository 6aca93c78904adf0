// Exclusive locks on open files and folders, between processes and within one.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

namespace qel::platform {

// A lock belongs to one opening of a file: two handles that were opened separately exclude each other, also
// within one process. It ends with unlockFile(), when the handle is closed, or when the process ends for any
// reason. It is advisory: code that does not take the lock is not restricted.

/// Opens @p path for reading and writing, to be locked; creates it if it is missing. The content is not
/// changed.
QEL_API FileError openLockFile(FileHandle& file, const char* path);
/// Waits for the lock of @p file; succeeds at once if the handle already has it.
QEL_API FileError lockFile(const FileHandle& file);
/// Tries to lock @p file like lockFile(), but never waits.
/// @return std::errc::operation_would_block if another opening has the lock.
QEL_API FileError tryLockFile(const FileHandle& file);
/// Releases the lock; does nothing if @p file is not locked.
QEL_API FileError unlockFile(const FileHandle& file);

} // namespace qel::platform
