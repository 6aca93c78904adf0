#include "options.h"

#include <hosts/shared/option_table.h>

#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace qelhost {

namespace {

bool isFolder(const std::string& path) {
    std::error_code error; // also set for a path in a folder that cannot be searched
    return std::filesystem::is_directory(path, error);
}

bool storePlugins(Options& options, std::string_view value) {
    options.plugins = value;
    return isFolder(options.plugins);
}

bool storeResources(Options& options, std::string_view value) {
    options.resources.emplace_back(value);
    return isFolder(options.resources.back());
}

bool storeApplicationDirectory(Options& options, std::string_view value) {
    options.applicationDirectory = value;
    return isFolder(options.applicationDirectory);
}

bool storeLanguage(Options& options, std::string_view value) {
    options.language = value;
    return !value.empty() && value.find('/') == value.npos;
}

constexpr std::string_view kNoFolder = "no such folder: ";

constexpr std::array<qelhosts::OptionRow<Options>, 9> kOptions{{
    {"--plugins", &storePlugins, nullptr, kNoFolder},
    {"--resources", &storeResources, nullptr, kNoFolder},
    {"--app-dir", &storeApplicationDirectory, nullptr, kNoFolder},
    {"--language", &storeLanguage, nullptr, "no language: "},
    {"--report", nullptr, &Options::report},
    {"--stay", nullptr, &Options::stay},
    {"--help", nullptr, &Options::help},
    {"-h", nullptr, &Options::help},
    {"--version", nullptr, &Options::version},
}};

} // namespace

Options parseOptions(int argc, const char* const* argv) {
    Options options;
    options.firstScriptArgument = qelhosts::readOptions(options, kOptions, argc, argv);
    return options;
}

const char* usage() {
    return R"(Usage: qelhost [OPTIONS] [--] [ARGUMENTS]
Runs the scripts in a folder of plugins until all of them have ended.

  --plugins DIR     the plugins folder; default: "Plugins" beside the program
  --resources DIR   add the resource packages ("res-...") in DIR; may be repeated
  --app-dir DIR     store application data, caches, keys and crash dumps in DIR
  --language CODE   language of texts, such as "en" or "de"; default: the user's
  --report          print the performance report at the end
  --stay            keep running when no script is active, until interrupted
  --version         print the version
  -h, --help        print this

ARGUMENTS start after "--" or at the first one that is not an option; they are for the scripts.

Ctrl-C asks the scripts to end, and ends the program within a second.
Exit status: the one that a script requested; else 130 if Ctrl-C stopped a script; else 1
if a script did not compile or failed, the plugins folder could not be read or standard
output could not be written; else 0. 2 for a wrong option.
)";
}

} // namespace qelhost
