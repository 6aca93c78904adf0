// Runs a program and, if requested, waits for its end.
#pragma once

#include <qel/platform/api.h>

#include <string>
#include <string_view>
#include <vector>

namespace qel::platform {

/// How a program is run.
struct RunOptions {
    bool wait = true;      ///< block until the program has ended
    bool detached = false; ///< run it in a session of its own, with its three streams connected to nothing
    bool quiet = false;    ///< connect its three streams to nothing
};

/// The result of a run.
struct RunResult {
    bool started = false; ///< true if the program was started
    int errorCode = 0;    ///< if not started: the system's error code, see errorText
    int exitCode = 0;     ///< after a wait: the exit status, or 128 + the number of the signal that ended it
};

/// Starts the program @p arguments[0] with @p arguments. A name without a slash is searched for in $PATH. No
/// shell is involved. The program sees its three standard streams and no other descriptor of this process;
/// all its signals are at their defaults. It leaves no zombie in the process table.
/// @threads any thread; an argument that contains a zero byte is cut there.
QEL_API RunResult runProcess(const std::vector<std::string>& arguments, const RunOptions& options);

/// Returns the absolute path of the program @p name: the name itself if it contains a slash and is
/// executable, else the first executable file with that name in $PATH.
/// @return empty if no such file exists.
/// @threads any thread, but not while another thread changes the environment.
QEL_API std::string findProgram(std::string_view name);

/// The ways in which this process can get root's rights.
struct ElevationMeans {
    bool administrator = false;    ///< it already has them
    bool graphicalSession = false; ///< a desktop can ask the user
    std::string pkexec;            ///< path of that program; empty if it is not installed
    std::string sudo;              ///< path of that program; empty if it is not installed
};

/// Finds out which ways this process has.
/// @threads see findProgram.
QEL_API ElevationMeans elevationMeans();

/// Runs a program with root's rights. An administrator runs it directly. In a graphical session pkexec asks
/// the user. Otherwise sudo runs it, if the user needs no password at this moment; the user is never asked
/// for one.
/// @return not started if there is no way, the program is not found, or the rights were refused; with pkexec
/// only a waiting caller learns of a refusal.
/// @threads see findProgram.
QEL_API RunResult runElevated(const std::vector<std::string>& arguments, const RunOptions& options,
                              const ElevationMeans& means);

} // namespace qel::platform
