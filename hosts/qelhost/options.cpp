#include "options.h"

#include <hosts/shared/settings.h>

namespace qelhost {

qelhosts::Program describe(Options& options) {
    using namespace qelhosts;
    Program program{
        .name = "qelhost",
        .purpose = "run the scripts of a folder of plugins",
        .arguments = "[--] [ARGUMENTS]",
        .description =
            "Runs the scripts in a folder of plugins until all of them have ended.\n\n"
            "Log lines and results are written to standard output, with colours on a terminal "
            "unless NO_COLOR is set. Ctrl-C asks the scripts to end, and ends the program within a "
            "second.",
        .options = {{"--plugins", "DIR", folder(options.plugins),
                     "the plugins folder; default: \"Plugins\" beside the program, or the installed plugins"},
                    resourcesOption(options.resources),
                    {"--app-dir", "DIR", folder(options.applicationDirectory),
                     "store application data, caches, keys and crash dumps in DIR"},
                    languageOption(options.language),
                    {"--report", "", flag(options.report), "print the performance report at the end"},
                    {"--stay", "", flag(options.stay),
                     "keep running when no script is active, until interrupted"}},
        .notes = "ARGUMENTS start after \"--\" or at the first one that is not an option; they are for the "
                 "scripts.",
        .statuses = {{0, "all scripts ended without an error, unless a script requested another status"},
                     {1,
                      "a script did not compile or failed, the plugins folder could not be read or standard "
                      "output could not be written"},
                     {130, "Ctrl-C stopped a script"}},
        .files = {{"Plugins/NAME/main.sq", "the script that the plugin NAME runs"},
                  {"Plugins/NAME/autoexec.sq", "runs before the main script of any plugin"},
                  {"PREFIX/share/qelcore/plugins", "the installed plugins, if the program is in PREFIX/bin"},
                  {"~/.local/share/ORLANE", "application data, unless --app-dir is given"}},
        .examples = {{"qelhost --plugins plugins --language de", "Runs the plugins of a folder in German."},
                     {"qelhost --plugins plugins -- --out /tmp/result /srv/studies",
                      "Passes everything after \"--\" to the scripts."}},
        .related = {"qelserver"},
        .advice = "Options of the scripts follow '--'."};
    addCommonOptions(program, options);
    return program;
}

} // namespace qelhost
