#include "options.h"

#include <array>
#include <charconv>
#include <filesystem>
#include <string_view>

namespace qelserver {

namespace {

constexpr int kMostWorkers = 64;

template <std::string Options::*member>
bool storeText(Options& options, std::string_view value) {
    options.*member = value;
    return !value.empty();
}

template <std::string Options::*member>
bool storeFile(Options& options, std::string_view value) {
    options.*member = value;
    std::error_code error;
    return std::filesystem::is_regular_file(value, error);
}

bool storeWorkers(Options& options, std::string_view value) {
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), options.workers);
    return error == std::errc() && end == value.data() + value.size() && options.workers >= 0 &&
           options.workers <= kMostWorkers;
}

constexpr std::array<qelhosts::OptionRow<Options>, 9> kOptions{{
    {"--socket", &storeText<&Options::socket>, nullptr, "not a path of a socket: "},
    {"--data", &storeText<&Options::data>, nullptr, "not a path of a file: "},
    {"--memory", nullptr, &Options::memory},
    {"--workers", &storeWorkers, nullptr, "not a number from 0 to 64: "},
    {"--worker", &storeFile<&Options::worker>, nullptr, "no such file: "},
    {"--rights", &storeFile<&Options::rights>, nullptr, "no such file: "},
    {"--help", nullptr, &Options::help},
    {"-h", nullptr, &Options::help},
    {"--version", nullptr, &Options::version},
}};

} // namespace

Options parseOptions(int argc, const char* const* argv) {
    Options options;
    const int end = qelhosts::readOptions(options, kOptions, argc, argv);
    if (options.problem.empty() && !options.help && end < argc) {
        options.problem = "unknown argument " + qelhosts::quoted(argv[end]);
    }
    return options;
}

const char* usage() {
    return R"(Usage: qelserver [OPTIONS]
Answers remote calls on a local socket and runs jobs in worker processes, until SIGTERM or Ctrl-C.

  --socket PATH   listen on this socket; default: "qelserver.sock" in the user's data folder
  --data FILE     store options, log, statistics and jobs in FILE; default: "qelserver.store" in the
                  folder of application data
  --memory        keep them in memory only; they are lost when the server stops
  --workers N     start N workers, 0 to 64; default: 4
  --worker FILE   the program of the workers; default: "qelworker" beside the server
  --rights FILE   grant rights to users other than the server's own as FILE says; default: no rights
  --version       print the version
  -h, --help      print this

Exit status: 0 after an orderly stop; 1 if the server could not start, or could not store its last
changes or write its log lines; 2 for a wrong command line.
)";
}

} // namespace qelserver
