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
    {"--socket", &storeSocket, nullptr, "no socket: "},
    {"--timeout", &storeTimeout, nullptr, "no number of seconds: "},
    {"--watch", nullptr, &Options::watch},
    {"--help", nullptr, &Options::help},
    {"-h", nullptr, &Options::help},
    {"--version", nullptr, &Options::version},
}};

/// Whether an object stands for the whole list of arguments, as its bytes.
bool isItem(const json& value) {
    return value.is_object() && value.size() == 1 && value.contains("$item");
}

/// One argument that is an array or the bytes of an Item holds all arguments of the call; otherwise each is
/// one of them: the value that it is in JSON, or a text.
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
        options.problem = "no method to call";
        return options;
    }
    options.method = argv[first];
    for (int i = first + 1; i < argc; ++i) {
        if (looksLikeBrokenJson(argv[i])) options.problem = "no JSON: " + qelhosts::quoted(argv[i]);
    }
    options.arguments = readArguments(argc - first - 1, argv + first + 1);
    return options;
}

const char* usage() {
    return R"(Usage: qelcall [OPTIONS] METHOD [ARGUMENTS]
Calls a method of a running qelserver and prints the result as JSON.

  --socket PATH      the server's socket; default: qelserver.sock in the user's data folder
  --watch            follow the job that the call returns to its end, and print the job's result
  --timeout SECONDS  how long to wait for a reply; default: 60
  --version          print the version
  -h, --help         print this

ARGUMENTS are one JSON array that holds them all, or the arguments one by one: what is not JSON
is a text.

Exit status: 0 for success; 1 when the server refused the call or the job failed, with the
reason on standard error; 2 for a wrong command line; 3 when there is no answer.
)";
}

} // namespace qelcall
