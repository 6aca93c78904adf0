// Starts a program that nobody has to wait for.
#pragma once

namespace qel::platform {

/// What a program starts with. All of it is prepared before the process splits.
struct ProgramStart {
    const char* path = nullptr;       ///< absolute
    char* const* arguments = nullptr; ///< ends in null
    bool ownSession = false;          ///< no terminal, no signals of the caller's terminal
    bool quiet = false;               ///< the three streams lead nowhere
};

/// Starts the program as a grandchild whose parent has ended already, so that the system's first process
/// collects it and no zombie is left.
/// @return 0, or the system's code when it could not be started.
/// @threads any thread.
int startOrphan(const ProgramStart& start);

} // namespace qel::platform
