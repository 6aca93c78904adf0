// Where the server listens, and its clients look for it, when nobody names a place.
#pragma once

#include <qel/platform/known_folders.h>

#include <string>

namespace qelhosts {

/// "qelserver.sock" in the user's data folder, where nobody else can put a socket of his own. The folder may
/// be missing.
inline std::string defaultSocketPath() {
    return qel::platform::userLocalDataFolder() + "/qelserver.sock";
}

} // namespace qelhosts
