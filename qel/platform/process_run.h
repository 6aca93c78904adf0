// Runs a program, with or without waiting for its end.
#pragma once

#include <qel/platform/api.h>

#include <string>
#include <string_view>
#include <vector>

namespace qel::platform {

/// How a program is run.
struct RunOptions {
    bool wait = true;      ///< block until it has ended
    bool detached = false; ///< in a session of its own, its three streams connected to nothing
    bool quiet = false;    ///< its three streams connected to nothing
};

/// What became of a run.
struct RunResult {
    bool started = false; ///< whether the program could be started at all
    int errorCode = 0;    ///< when not started: the system's code, see errorText
    int exitCode = 0;     ///< after a wait: the exit status, or 128 + the number of the signal that ended it
};

/// Starts the program @p arguments[0] with @p arguments. A name without a slash is looked for in $PATH. No
/// shell is involved. The program sees its three standard streams and no other descriptor of this process,
/// all signals at their defaults, and nothing is left of it in the process table after its end.
/// @threads any thread; the arguments must not hold zero bytes (what follows one is not seen).
QEL_API RunResult runProcess(const std::vector<std::string>& arguments, const RunOptions& options);

/// The absolute path of the program @p name: itself when it holds a slash and is executable, else the first
/// executable file of that name in $PATH.
/// @return empty when there is none.
/// @threads any thread that does not run beside a change of the environment.
QEL_API std::string findProgram(std::string_view name);

/// The ways to root's rights that this process has.
struct ElevationMeans {
    bool administrator = false;    ///< it has them already
    bool graphicalSession = false; ///< a desktop can ask the user
    std::string pkexec;            ///< path of that program, empty if absent
    std::string sudo;              ///< path of that program, empty if absent
};

/// Finds out which ways this process has.
/// @threads as findProgram.
QEL_API ElevationMeans elevationMeans();

/// Runs a program with root's rights. An administrator runs it as it is. In a graphical session pkexec asks
/// the user. Otherwise sudo runs it if the user's rights need no password at this moment; nobody is asked for
/// one.
/// @return not started when there is no way, when the program is not found, or when the rights were refused,
/// which for pkexec only a waiting caller learns.
/// @threads as findProgram.
QEL_API RunResult runElevated(const std::vector<std::string>& arguments, const RunOptions& options,
                              const ElevationMeans& means);

} // namespace qel::platform
