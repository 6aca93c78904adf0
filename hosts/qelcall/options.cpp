#include "options.h"

#include <hosts/shared/socket_path.h>

#include <array>
#include <charconv>

namespace qelcall {

namespace {

using nlohmann::json;

constexpr int kLongestTimeoutSeconds = 86'400;

bool storeSocket(Options& options, std::string_view value) {
    options.socket = value;
    return !value.empty();
}

bool storeTimeout(Options& options, std::string_view value) {
    int seconds = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), seconds);
    const bool isGood = error == std::errc() && end == value.data() + value.size() && seconds > 0 &&
                        seconds <= kLongestTimeoutSeconds;
    if (isGood) options.timeoutMs = seconds * 1000;
    return isGood;
}

constexpr std::array<qelhosts::OptionRow<Options>, 6> kOptions{{
    {"--socket", &storeSocket, nullptr, "not a path of a socket: "},
    {"--timeout", &storeTimeout, nullptr, "not a number of seconds from 1 to 86400: "},
    {"--watch", nullptr, &Options::watch},
    {"--help", nullptr, &Options::help},
    {"-h", nullptr, &Options::help},
    {"--version", nullptr, &Options::version},
}};

/// Returns true if an object holds the whole list of arguments as the bytes of an Item.
bool isItem(const json& value) {
    return value.is_object() && value.size() == 1 && value.contains("$item");
}

/// Returns the arguments of the call. A single argument that is an array or holds an Item is the whole list;
/// otherwise each argument is one element: its JSON value, or a string if it is not JSON.
json readArguments(int count, const char* const* texts) {
    json arguments = json::array();
    for (int i = 0; i < count; ++i) {
        json value = json::parse(texts[i], nullptr, false);
        if (value.is_discarded()) value = texts[i];
        if (count == 1 && (value.is_array() || isItem(value))) return value;
        arguments.push_back(std::move(value));
    }
    return arguments;
}

bool looksLikeBrokenJson(const char* text) {
    return (*text == '{' || *text == '[') && !json::accept(text);
}

} // namespace

Options parseOptions(int argc, const char* const* argv) {
    Options options;
    options.socket = qelhosts::defaultSocketPath();
    const int first = qelhosts::readOptions(options, kOptions, argc, argv);
    if (options.help || options.version || !options.problem.empty()) return options;
    if (first >= argc) {
        options.problem = "no method given";
        return options;
    }
    options.method = argv[first];
    for (int i = first + 1; i < argc; ++i) {
        if (looksLikeBrokenJson(argv[i])) options.problem = "invalid JSON: " + qelhosts::quoted(argv[i]);
    }
    options.arguments = readArguments(argc - first - 1, argv + first + 1);
    return options;
}

const char* usage() {
    return R"(Usage: qelcall [OPTIONS] METHOD [ARGUMENTS]
Calls a method of a running qelserver and prints the result as JSON.

  --socket PATH      the server's socket; default: qelserver.sock in the user's data folder
  --watch            follow the job that the call returns until it ends, and print its result
  --timeout SECONDS  how long to wait for a reply; default: 60
  --version          print the version
  -h, --help         print this

ARGUMENTS is one JSON array with all arguments, or each argument by itself. An argument that is not
JSON is passed as a string.

Exit status: 0 for success; 1 if the server refused the call, the job failed or the output could not
be written, with the reason on standard error; 2 for a wrong command line; 3 if there is no answer.
)";
}

} // namespace qelcall
