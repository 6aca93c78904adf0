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
    {"--socket", &storeText<&Options::socket>, nullptr, "no path for a socket: "},
    {"--data", &storeText<&Options::data>, nullptr, "no path for a file: "},
    {"--memory", nullptr, &Options::memory},
    {"--workers", &storeWorkers, nullptr, "no number from 0 to 64: "},
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
        options.problem = "no option: " + qelhosts::quoted(argv[end]);
    }
    return options;
}

const char* usage() {
    return R"(Usage: qelserver [OPTIONS]
Answers remote calls on a local socket and has jobs done by workers, until SIGTERM or Ctrl-C.

  --socket PATH   where calls come in; default: "qelserver.sock" in the user's data folder
  --data FILE     keep options, log, statistics and jobs in FILE; default: "qelserver.store" in the
                  folder of application data
  --memory        keep them in memory only; they are gone at the end
  --workers N     number of workers, 0 to 64; default: 4
  --worker FILE   the worker's program; default: "qelworker" beside the server
  --rights FILE   what users other than the server's own may call; default: nothing
  --version       print the version
  -h, --help      print this

Exit status: 0 after an end in order; 1 when the server could not start; 2 for a wrong option.
)";
}

} // namespace qelserver
