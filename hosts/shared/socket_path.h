// The default path of the server's socket.
#pragma once

#include <qel/platform/known_folders.h>

#include <string>

namespace qelhosts {

/// Returns "qelserver.sock" in the user's data folder, where other users can't create a socket. The folder
/// may not exist.
inline std::string defaultSocketPath() {
    return qel::platform::userLocalDataFolder() + "/qelserver.sock";
}

} // namespace qelhosts
