// The folders that the system reserves for programs and their data.
#pragma once

#include <qel/platform/api.h>

#include <string>

namespace qel::platform {

// All paths are absolute and have no separator at the end. The folders are not created. Functions that read
// the environment must not be called while another thread changes it.

/// Returns the folder where this user's programs keep data of this machine: $XDG_DATA_HOME if it is an
/// absolute path, else ".local/share" below the home folder. The home folder is $HOME if it is absolute, else
/// the one in the user database.
/// @return empty if the user has no home folder.
/// @threads any thread.
QEL_API std::string userLocalDataFolder();

/// Returns the folder where this user's programs keep their settings: $XDG_CONFIG_HOME if it is an absolute
/// path, else ".config" below the home folder, which is found as in userLocalDataFolder().
/// @return empty if the user has no home folder.
/// @threads any thread.
QEL_API std::string userConfigFolder();

/// Returns the folder where programs keep data for all users: "/var/lib", by the Filesystem Hierarchy
/// Standard.
/// @threads any thread.
QEL_API std::string commonDataFolder();

/// Returns the folder where programs that are not part of the system are installed, each in a folder of its
/// own: "/opt", by the Filesystem Hierarchy Standard.
/// @threads any thread.
QEL_API std::string programsFolder();

/// Returns the folder where desktop environments look for this user's start entries (".desktop" files):
/// "applications" below userLocalDataFolder().
/// @return empty if the user has no home folder.
/// @threads any thread.
QEL_API std::string userStartMenuFolder();

/// Returns the folder where desktop environments look for all users' start entries: "applications" below the
/// first absolute path in $XDG_DATA_DIRS, else "/usr/local/share/applications".
/// @threads any thread.
QEL_API std::string commonStartMenuFolder();

} // namespace qel::platform
