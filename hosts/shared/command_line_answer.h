// What a host answers to its command line before it starts anything.
#pragma once

#include <hosts/shared/option_table.h>
#include <hosts/shared/standard_output.h>
#include <qel/platform/console.h>
#include <qel/system/report/version.h>

#include <optional>

namespace qelhosts {

/// The exit status for a command line that can't be understood.
inline constexpr int kWrongUsage = 2;

/// Secures the standard streams, then complains about the command line, or prints the help or the version if
/// that was asked for.
/// @param advice  a sentence behind the hint at the help; may be empty.
/// @return the exit status; nothing when the program is to run.
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
