// Exclusive locks on open files and folders, between processes and within one.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

namespace qel::platform {

// A lock belongs to the opening of a file: two handles that were opened apart exclude each other, in one
// process too. It ends with unlockFile(), with the handle, and with the process, whatever ends it. It is
// advisory: who doesn't ask for it isn't hindered.

/// Opens @p path for reading and writing, made when missing, to be locked. The content is left alone.
QEL_API FileError openLockFile(FileHandle& file, const char* path);
/// Waits for the lock on what @p file stands for; a lock that it has already is success at once.
QEL_API FileError lockFile(const FileHandle& file);
/// As lockFile(), but never waits. @return std::errc::operation_would_block when another opening has the
/// lock.
QEL_API FileError tryLockFile(const FileHandle& file);
/// Gives the lock back; without one nothing happens.
QEL_API FileError unlockFile(const FileHandle& file);

} // namespace qel::platform
