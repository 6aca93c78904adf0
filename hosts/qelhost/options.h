// The command line of the host.
#pragma once

#include <hosts/shared/command_line.h>

#include <string>
#include <vector>

namespace qelhost {

/// The settings on the command line. CommandLine::firstArgument is the first argument for the scripts.
struct Options : qelhosts::CommandLine {
    std::string plugins;                ///< plugins folder; empty for the library's default
    std::vector<std::string> resources; ///< folders that contain resource packages
    std::string applicationDirectory;   ///< base of application data; empty for the library's default
    std::string language;               ///< language of texts; empty for the user's language
    bool report = false;                ///< print the performance report at the end
    bool stay = false;                  ///< keep running when no script is active
};

/// Returns the table of options and the manual. @param options  receives the values; must outlive the result.
qelhosts::Program describe(Options& options);

} // namespace qelhost
