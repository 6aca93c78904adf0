// Runs a host program as a child process.
#pragma once

#include <tests/support/scratch_folder.h>

#include <string>
#include <vector>

namespace qel::test {

/// The outcome of a run of a program.
struct HostRun {
    int status = -1;   ///< exit status
    std::string out;   ///< standard output
    std::string error; ///< standard error

    friend bool operator==(const HostRun&, const HostRun&) = default;
};

/// Runs a program in @p folder and waits for its end. Its output is also left there in two files.
HostRun runProgram(const ScratchFolder& folder, const std::vector<std::string>& command);
/// Prints a run in messages of failed tests.
std::ostream& operator<<(std::ostream& stream, const HostRun& run);

} // namespace qel::test
