// The command line of the host.
#pragma once

#include <hosts/shared/option_table.h>

#include <string>
#include <vector>

namespace qelhost {

/// The settings on the command line.
struct Options : qelhosts::CommonOptions {
    std::string plugins;                ///< plugins folder; empty for the library's default
    std::vector<std::string> resources; ///< folders that contain resource packages
    std::string applicationDirectory;   ///< base of application data; empty for the library's default
    std::string language;               ///< language of texts; empty for the user's language
    bool report = false;                ///< print the performance report at the end
    bool stay = false;                  ///< keep running when no script is active
    int firstScriptArgument = 0;        ///< index of the first argument for the scripts
};

/// Reads the options, up to `--` or the first argument that is not an option. The rest is for the scripts.
Options parseOptions(int argc, const char* const* argv);

/// Returns the text for `--help`.
const char* usage();

} // namespace qelhost
