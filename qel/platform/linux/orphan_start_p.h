// Starts a program that this process does not have to collect.
#pragma once

namespace qel::platform {

/// What a program is started with. All of it is prepared before the process forks.
struct ProgramStart {
    const char* path = nullptr;       ///< absolute path
    char* const* arguments = nullptr; ///< ends in null
    bool ownSession = false;          ///< without the caller's terminal and its signals
    bool quiet = false;               ///< the three streams are connected to nothing
};

/// Starts the program as a grandchild whose parent has already ended, so that the system's first process
/// collects it and no zombie is left.
/// @return 0, or the system's error code if it could not be started.
/// @threads any thread.
int startOrphan(const ProgramStart& start);

} // namespace qel::platform
