// This process: its name, its number, its rights, its end.
#pragma once

#include <qel/platform/api.h>

#include <cstdint>
#include <string>

namespace qel::platform {

/// The absolute path of the program file that runs; empty if the system does not say.
/// A file that was replaced since the start keeps the path it was started under.
/// @threads any thread.
QEL_API std::string executablePath();

/// The system's number of this process.
/// @threads any thread.
QEL_API std::uint32_t processId();

/// Whether this process may do everything (its effective user is root).
/// @threads any thread.
QEL_API bool isAdministrator();

/// How this process stands to the rights of an administrator.
enum class Elevation {
    Default = 1, ///< it has the rights of its user and can have no others, or root itself logged in
    Full = 2,    ///< it has root's rights, on behalf of a user who logged in with lesser ones
    Limited = 3, ///< it has no such rights, but its user belongs to a group that may ask for them
};

/// Tells how this process stands to the rights of an administrator. Groups that may ask for root's rights are
/// "sudo", "wheel" and "admin".
/// @threads any thread.
QEL_API Elevation elevation();

/// Ends the process at once with @p status: nothing is flushed, no destructor runs.
/// @threads any thread.
[[noreturn]] QEL_API void endProcess(int status);

/// Stops in the debugger; without one, ends the process as an unhandled trap does.
/// @threads any thread.
QEL_API void breakPoint();

/// Keeps the system from storing or reporting a core image when this process crashes.
/// @threads any thread.
QEL_API void disableCoreImages();

/// The user's locale for characters, as "de_DE.UTF-8", from LC_ALL, LC_CTYPE and LANG in this order (the
/// first that is not empty); "C" when none is set. The process's own locale is neither asked nor changed.
/// @threads any thread that does not run beside a change of the environment.
QEL_API std::string userLocaleName();

} // namespace qel::platform
