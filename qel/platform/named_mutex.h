// Named locks shared by all processes of the machine.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

#include <string_view>

namespace qel::platform {

// On Linux a named mutex is an empty file in the machine's folder for shared memory,
// "/dev/shm/qel-mutex-<name>" with "%" for each "/" in the name; it disappears when the machine restarts. It
// is locked with lockFile(), tryLockFile() and unlockFile().

/// Opens the mutex @p name and creates it for all users if it does not exist.
/// @errors std::errc::invalid_argument for an empty name.
QEL_API FileError createNamedMutex(FileHandle& mutex, std::string_view name);

/// Opens the mutex @p name. @errors std::errc::no_such_file_or_directory if it has not been created.
QEL_API FileError openNamedMutex(FileHandle& mutex, std::string_view name);

} // namespace qel::platform
