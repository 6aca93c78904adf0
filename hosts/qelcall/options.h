// The command line of qelcall.
#pragma once

#include <hosts/shared/option_table.h>
#include <nlohmann/json.hpp>

#include <string>

namespace qelcall {

/// What the command line asks for.
struct Options : qelhosts::CommonOptions {
    std::string socket;                                 ///< name of the server's socket
    std::string method;                                 ///< what to call
    nlohmann::json arguments = nlohmann::json::array(); ///< an array, or the bytes of an Item
    bool watch = false;                                 ///< follow the job that the call returns
    int timeoutMs = 60'000;                             ///< how long to wait for a reply
};

/// Reads the whole command line.
Options parseOptions(int argc, const char* const* argv);

/// How the program is used, for `--help`.
const char* usage();

} // namespace qelcall
