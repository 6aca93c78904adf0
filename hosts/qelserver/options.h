// The command line of the server.
#pragma once

#include <hosts/shared/command_line.h>

#include <string>

namespace qelserver {

/// The values of the command line.
struct Options : qelhosts::CommandLine {
    std::string socket;  ///< path of the socket for calls; empty for the default
    std::string data;    ///< path of the store; empty for the default
    std::string worker;  ///< path of the worker's program; empty for the one beside the server
    std::string rights;  ///< path of the file with the rights of other users; empty for none
    int workers = 4;     ///< number of workers
    bool memory = false; ///< true to keep the records in memory only
};

/// Returns the table of options and the manual. @param options  receives the values; must outlive the result.
qelhosts::Program describe(Options& options);

} // namespace qelserver
