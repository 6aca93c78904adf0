#include "options.h"

#include <hosts/shared/settings.h>

namespace qelcall {

namespace {

using nlohmann::json;

constexpr int kLongestTimeoutSeconds = 86'400;

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

qelhosts::Program describe(Options& options) {
    using namespace qelhosts;
    Program program{
        .name = "qelcall",
        .purpose = "call a method of a running qelserver",
        .arguments = "[--] METHOD [ARGUMENTS]",
        .description = "Calls a method of a running qelserver and prints the result as JSON.",
        .options = {{"--socket", "PATH", path(options.socket, "socket"),
                     "the server's socket; default: \"qelserver.sock\" in the user's data folder"},
                    {"--watch", "", flag(options.watch),
                     "follow the job that the call returns until it ends, and print its result"},
                    {"--timeout", "SECONDS",
                     number(options.timeoutSeconds, 1, kLongestTimeoutSeconds, "number of seconds"),
                     "how long to wait for a reply; default: 60"}},
        .notes =
            "ARGUMENTS is one JSON array with all arguments, or each argument by itself. An argument that is "
            "not JSON is passed as a string. Options precede METHOD.",
        .statuses = {{0, "success"},
                     {1,
                      "the server refused the call, the job failed or the output could not be written, with "
                      "the reason on standard error"},
                     {3, "there is no answer"}},
        .files = {{"~/.local/share/qelserver.sock", "the server's socket, unless --socket is given"}},
        .examples = {{"qelcall jobs.list 10", "Lists the latest ten jobs."},
                     {"qelcall --watch jobs.submit hash '[\"/srv/studies/slice-001.dcm\"]'",
                      "Lets a worker calculate the checksum of a file, and waits for the result."}},
        .related = {"qelserver"},
        .advice = ""};
    addCommonOptions(program, options);
    return program;
}

void readArguments(Options& options, int argc, const char* const* argv) {
    if (options.help || options.version || !options.problem.empty()) return;
    const int first = options.firstArgument;
    if (first >= argc) {
        options.problem = "no method given";
        return;
    }
    options.method = argv[first];
    for (int i = first + 1; i < argc; ++i) {
        if (looksLikeBrokenJson(argv[i])) options.problem = "invalid JSON: " + qelhosts::inQuotes(argv[i]);
    }
    options.arguments = readArguments(argc - first - 1, argv + first + 1);
}

} // namespace qelcall
