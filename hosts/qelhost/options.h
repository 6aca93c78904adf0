// The command line of the host.
#pragma once

#include <hosts/shared/option_table.h>

#include <string>
#include <vector>

namespace qelhost {

/// What the command line asks for.
struct Options : qelhosts::CommonOptions {
    std::string plugins;                ///< folder of plugins; empty for the library's default
    std::vector<std::string> resources; ///< folders that hold resource packages
    std::string applicationDirectory;   ///< base of application data; empty for the library's default
    std::string language;               ///< language of texts; empty for the user's own
    bool report = false;                ///< print the performance report at the end
    bool stay = false;                  ///< go on when no script is active any more
    int firstScriptArgument = 0;        ///< index of the first argument for the scripts
};

/// Reads the options, up to the first argument that is none or up to `--`. What follows is for the scripts.
Options parseOptions(int argc, const char* const* argv);

/// How the host is used, for `--help`.
const char* usage();

} // namespace qelhost
