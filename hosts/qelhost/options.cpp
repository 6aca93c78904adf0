#include "options.h"

#include <array>
#include <filesystem>
#include <string_view>

namespace qelhost {

namespace {

/// An option with a value stores it, one without sets a flag.
struct OptionRow {
    std::string_view name;
    bool (*store)(Options& options, std::string_view value);
    bool Options::*flag;
};

bool storePlugins(Options& options, std::string_view value) {
    options.plugins = value;
    return std::filesystem::is_directory(options.plugins);
}

bool storeResources(Options& options, std::string_view value) {
    options.resources.emplace_back(value);
    return std::filesystem::is_directory(options.resources.back());
}

bool storeApplicationDirectory(Options& options, std::string_view value) {
    options.applicationDirectory = value;
    return std::filesystem::is_directory(options.applicationDirectory);
}

bool storeLanguage(Options& options, std::string_view value) {
    options.language = value;
    return !value.empty() && value.find('/') == value.npos;
}

constexpr std::array<OptionRow, 9> kOptions{{
    {"--plugins", &storePlugins, nullptr},
    {"--resources", &storeResources, nullptr},
    {"--app-dir", &storeApplicationDirectory, nullptr},
    {"--language", &storeLanguage, nullptr},
    {"--report", nullptr, &Options::report},
    {"--stay", nullptr, &Options::stay},
    {"--help", nullptr, &Options::help},
    {"-h", nullptr, &Options::help},
    {"--version", nullptr, &Options::version},
}};

const OptionRow* findOption(std::string_view name) {
    for (const OptionRow& row : kOptions) {
        if (row.name == name) return &row;
    }
    return nullptr;
}

bool isOption(std::string_view argument) {
    return argument.size() > 1 && argument.front() == '-';
}

std::string quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

/// Reads one option at @p index. @return how many arguments it takes; 0 with a problem noted.
int readOption(Options& options, int argc, const char* const* argv, int index) {
    const std::string_view argument = argv[index];
    const size_t equals = argument.find('=');
    const OptionRow* row = findOption(argument.substr(0, equals));
    if (!row) {
        options.problem = "unknown option " + quoted(argument);
        return 0;
    }
    const bool isJoined = equals != argument.npos;
    if (row->flag) {
        options.*(row->flag) = true;
        if (isJoined) options.problem = "option " + quoted(row->name) + " takes no value";
        return isJoined ? 0 : 1;
    }
    if (!isJoined && index + 1 >= argc) {
        options.problem = "option " + quoted(row->name) + " needs a value";
        return 0;
    }
    const std::string_view value = isJoined ? argument.substr(equals + 1) : argv[index + 1];
    if (!row->store(options, value)) {
        const char* expected = row->name == "--language" ? "no language: " : "no such folder: ";
        options.problem = expected + quoted(value);
        return 0;
    }
    return isJoined ? 1 : 2;
}

} // namespace

Options parseOptions(int argc, const char* const* argv) {
    Options options;
    int index = 1;
    while (index < argc && isOption(argv[index])) {
        if (std::string_view(argv[index]) == "--") {
            ++index;
            break;
        }
        const int taken = readOption(options, argc, argv, index);
        if (taken == 0 || options.help) break;
        index += taken;
    }
    options.firstScriptArgument = index;
    return options;
}

const char* usage() {
    return R"(Usage: qelhost [OPTIONS] [--] [ARGUMENTS]
Runs the scripts of a folder of plugins until all of them have ended.

  --plugins DIR     the folder of plugins; default: "Plugins" beside the program
  --resources DIR   take the resource packages ("res-...") of DIR; may be repeated
  --app-dir DIR     keep application data, caches, keys and crash dumps in DIR
  --language CODE   language of texts, as "en" or "de"; default: the user's own
  --report          print the performance report at the end
  --stay            go on when no script is active, until interrupted
  --version         print the version
  -h, --help        print this

ARGUMENTS, from the first one that is no option or behind "--", are for the scripts.

Ctrl-C tells the scripts to come to an end, and ends the program within a second.
Exit status: what a script asked for; else 0, or 1 when a script did not compile or
failed; 2 for a wrong option.
)";
}

} // namespace qelhost
