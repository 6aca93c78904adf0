// The command line of qelcall.
#pragma once

#include <hosts/shared/command_line.h>
#include <nlohmann/json.hpp>

#include <string>

namespace qelcall {

/// The values of the command line. CommandLine::firstArgument is the method.
struct Options : qelhosts::CommandLine {
    std::string socket; ///< path of the server's socket; empty for the default
    std::string method; ///< the method to call
    nlohmann::json arguments = nlohmann::json::array(); ///< an array, or the object that holds an Item
    bool watch = false;                                 ///< true to follow the job that the call returns
    int timeoutSeconds = 60;                            ///< how long to wait for a reply
};

/// Returns the table of options and the manual. @param options  receives the values; must outlive the result.
qelhosts::Program describe(Options& options);

/// Reads the method and its arguments, which follow the options.
void readArguments(Options& options, int argc, const char* const* argv);

} // namespace qelcall
