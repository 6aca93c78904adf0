// Commands that System runs.
#include <qel/system/core/system.h>

#include <qel/platform/command_line.h>
#include <qel/platform/process_run.h>

namespace qel {

namespace {

// The two kinds of runs report success and failure in opposite ways; callers rely on both.

int runElevated(const std::vector<std::string>& arguments, const platform::RunOptions& options) {
    return platform::runElevated(arguments, options, platform::elevationMeans()).started ? 1 : 0;
}

int runPlainly(const std::vector<std::string>& arguments, const platform::RunOptions& options) {
    const platform::RunResult result = platform::runProcess(arguments, options);
    return result.started ? result.exitCode : 1;
}

} // namespace

int System::runCommand(SmartCStr command, int flags) {
    const bool elevated = flags & kCommandElevated;
    const auto arguments = platform::splitCommandLine(command.view());
    if (!arguments || arguments->empty()) return elevated ? 0 : 1;
    platform::RunOptions options;
    options.wait = !(flags & kCommandNoWait);
    options.detached = flags & kCommandDetached;
    return elevated ? runElevated(*arguments, options) : runPlainly(*arguments, options);
}

} // namespace qel
