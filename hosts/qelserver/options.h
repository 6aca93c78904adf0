// The command line of the server.
#pragma once

#include <hosts/shared/option_table.h>

#include <string>

namespace qelserver {

/// The values of the command line.
struct Options : qelhosts::CommonOptions {
    std::string socket;  ///< path of the socket for calls; empty for the default
    std::string data;    ///< path of the store; empty for the default
    std::string worker;  ///< path of the worker's program; empty for the one beside the server
    std::string rights;  ///< path of the file with the rights of other users; empty for none
    int workers = 4;     ///< number of workers
    bool memory = false; ///< true to keep the records in memory only
};

/// Reads the command line. An argument that is not an option becomes Options::problem.
Options parseOptions(int argc, const char* const* argv);

/// Returns the text of `--help`.
const char* usage();

} // namespace qelserver
