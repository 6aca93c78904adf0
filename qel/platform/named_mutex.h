// Locks with a name that all processes of the machine share.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

#include <string_view>

namespace qel::platform {

// Here a named mutex is an empty file in the machine's folder for shared memory, "/dev/shm/qel-mutex-<name>"
// with "%" for each "/" in the name; it is gone after a restart of the machine. It is locked by lockFile(),
// tryLockFile() and unlockFile().

/// Makes the mutex @p name for all users, and opens it; one that exists is opened.
/// @errors std::errc::invalid_argument for an empty name.
QEL_API FileError createNamedMutex(FileHandle& mutex, std::string_view name);

/// Opens the mutex @p name. @errors std::errc::no_such_file_or_directory when nobody has made it.
QEL_API FileError openNamedMutex(FileHandle& mutex, std::string_view name);

} // namespace qel::platform
