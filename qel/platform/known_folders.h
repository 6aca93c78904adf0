// The folders that the system sets aside for programs and their data.
#pragma once

#include <qel/platform/api.h>

#include <string>

namespace qel::platform {

// All paths are absolute, without a separator at the end, and are not created. Functions that read the
// environment must not run beside a change of it.

/// Where this user's programs keep data of this machine: $XDG_DATA_HOME when it holds an absolute path, else
/// ".local/share" below the home folder. The home folder is $HOME when absolute, else the user database's.
/// @return empty when the user has no home.
/// @threads any thread.
QEL_API std::string userLocalDataFolder();

/// Where this user's programs are set up: $XDG_CONFIG_HOME when it holds an absolute path, else ".config"
/// below the home folder, as userLocalDataFolder() finds it.
/// @return empty when the user has no home.
/// @threads any thread.
QEL_API std::string userConfigFolder();

/// Where programs keep data for all users: "/var/lib", by the Filesystem Hierarchy Standard.
/// @threads any thread.
QEL_API std::string commonDataFolder();

/// Where programs that do not belong to the system are installed, each in a folder of its own: "/opt", by the
/// Filesystem Hierarchy Standard.
/// @threads any thread.
QEL_API std::string programsFolder();

/// Where desktop environments look for this user's start entries (".desktop" files): "applications" below
/// userLocalDataFolder().
/// @return empty when the user has no home.
/// @threads any thread.
QEL_API std::string userStartMenuFolder();

/// Where desktop environments look for all users' start entries: "applications" below the first absolute path
/// of $XDG_DATA_DIRS, else "/usr/local/share/applications".
/// @threads any thread.
QEL_API std::string commonStartMenuFolder();

} // namespace qel::platform
