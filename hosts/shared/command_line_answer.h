// What a host answers to its command line before it starts anything.
#pragma once

#include <hosts/shared/option_table.h>
#include <qel/system/report/version.h>

#include <cstdio>
#include <optional>

namespace qelhosts {

/// The exit status for a command line that can't be understood.
inline constexpr int kWrongUsage = 2;

/// Complains about the command line, or prints the help or the version if that was asked for.
/// @param advice  a sentence behind the hint at the help; may be empty.
/// @return the exit status; nothing when the program is to run.
inline std::optional<int> answerCommandLine(const CommonOptions& options, const char* program,
                                            const char* usage, const char* advice = "") {
    if (!options.problem.empty()) {
        std::fprintf(stderr, "%s: %s\nTry '%s --help'.%s\n", program, options.problem.c_str(), program,
                     advice);
        return kWrongUsage;
    }
    if (options.help) {
        std::fputs(usage, stdout);
        return 0;
    }
    if (options.version) {
        std::printf("%s\n", qel::Version::getAppTitle(program).c_str());
        return 0;
    }
    return std::nullopt;
}

} // namespace qelhosts
