// The command line of qelcall.
#pragma once

#include <hosts/shared/option_table.h>
#include <nlohmann/json.hpp>

#include <string>

namespace qelcall {

/// The values of the command line.
struct Options : qelhosts::CommonOptions {
    std::string socket;                                 ///< path of the server's socket
    std::string method;                                 ///< the method to call
    nlohmann::json arguments = nlohmann::json::array(); ///< an array, or the object that holds an Item
    bool watch = false;                                 ///< true to follow the job that the call returns
    int timeoutMs = 60'000;                             ///< how long to wait for a reply
};

/// Reads the whole command line.
Options parseOptions(int argc, const char* const* argv);

/// Returns the text of `--help`.
const char* usage();

} // namespace qelcall
