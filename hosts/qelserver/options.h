// The command line of the server.
#pragma once

#include <hosts/shared/option_table.h>

#include <string>

namespace qelserver {

/// What the command line asks for.
struct Options : qelhosts::CommonOptions {
    std::string socket;  ///< path of the socket that calls come in through; empty for the default
    std::string data;    ///< the file of the records; empty for the default
    std::string worker;  ///< the worker's program; empty for the one beside the server
    std::string rights;  ///< the file with the rights of other users; empty for none
    int workers = 4;     ///< how many workers there are
    bool memory = false; ///< keep the records in memory only
};

/// Reads the command line, which has nothing but options.
Options parseOptions(int argc, const char* const* argv);

/// How the server is used, for `--help`.
const char* usage();

} // namespace qelserver
