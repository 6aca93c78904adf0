// Handles wrong command lines, --help and --version before a host starts.
#pragma once

#include <hosts/shared/option_table.h>
#include <hosts/shared/standard_output.h>
#include <qel/platform/console.h>
#include <qel/system/report/version.h>

#include <optional>

namespace qelhosts {

/// The exit status for a wrong command line.
inline constexpr int kWrongUsage = 2;

/// Opens standard streams that are missing, then reports a wrong command line, or prints the help or the
/// version if the options ask for it.
/// @param advice  a sentence that follows the hint at the help; may be empty.
/// @return the exit status; nothing if the program must run.
inline std::optional<int> answerCommandLine(const CommonOptions& options, const char* program,
                                            const char* usage, const char* advice = "") {
    qel::platform::occupyMissingStandardStreams();
    if (!options.problem.empty()) {
        complain(program, options.problem + "\nTry '" + program + " --help'." + advice);
        return kWrongUsage;
    }
    if (!options.help && !options.version) return std::nullopt;
    print(options.help ? std::string(usage) : qel::Version::getAppTitle(program) + "\n");
    return statusAfterOutput(0, program);
}

} // namespace qelhosts
