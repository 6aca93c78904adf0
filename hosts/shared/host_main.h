// The main function of a host.
#pragma once

#include <hosts/shared/command_line.h>

#include <qel/platform/file_system.h>

namespace qelhosts {

/// Parses the command line into @p options, answers `--help`, `--version` and mistakes, and otherwise runs
/// the host. Writing a file beyond the process's limit for their size (ulimit -f) fails as on a full disk.
/// @param options  the options of the host, for which its function describe() returns the table. If it has a
///                 function readArguments(options, argc, argv), that reads what follows the options.
/// @param run      runs the host and returns its exit status.
/// @return the exit status of the process.
template <class Options, class Run>
int hostMain(int argc, const char* const* argv, Options& options, const Run& run) {
    qel::platform::failOversizedWrites();
    const Program program = describe(options);
    parseCommandLine(options, program, argc, argv);
    if constexpr (requires { readArguments(options, argc, argv); }) readArguments(options, argc, argv);
    const std::optional<int> answer = answerCommandLine(options, program);
    return answer ? *answer : run();
}

} // namespace qelhosts
