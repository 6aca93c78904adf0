// This process: its name, number, rights and end.
#pragma once

#include <qel/platform/api.h>

#include <cstdint>
#include <string>

namespace qel::platform {

/// Returns the absolute path of the running program file; empty if the system does not report it.
/// If the file was replaced since the start, its path at the start is returned.
/// @threads any thread.
QEL_API std::string executablePath();

/// Returns the number of this process.
/// @threads any thread.
QEL_API std::uint32_t processId();

/// Returns true if this process may do everything (its effective user is root).
/// @threads any thread.
QEL_API bool isAdministrator();

/// The rights of this process compared with those of an administrator.
enum class Elevation {
    Default = 1, ///< it has the rights of its user and cannot get others, or root itself logged in
    Full = 2,    ///< it has root's rights, on behalf of a user who logged in with lesser rights
    Limited = 3, ///< it has no such rights, but its user is in a group that may request them
};

/// Returns how the rights of this process compare with those of an administrator. The groups that may request
/// root's rights are "sudo", "wheel" and "admin".
/// @threads any thread.
QEL_API Elevation elevation();

/// Ends the process at once with @p status: nothing is flushed, no destructor runs.
/// @threads any thread.
[[noreturn]] QEL_API void endProcess(int status);

/// Stops in the debugger. Without a debugger the process ends as after any unhandled trap.
/// @threads any thread.
QEL_API void breakPoint();

/// Prevents the system from storing or reporting a core image when this process crashes.
/// @threads any thread.
QEL_API void disableCoreImages();

/// Returns the user's locale for characters, such as "de_DE.UTF-8", from LC_ALL, LC_CTYPE and LANG in this
/// order (the first that is not empty); "C" if none is set. The process's own locale is neither read nor
/// changed.
/// @threads any thread, but not while another thread changes the environment.
QEL_API std::string userLocaleName();

} // namespace qel::platform
