// The command line of the worker.
#pragma once

#include <hosts/shared/command_line.h>

namespace qelworker {

/// The worker has the options of every host and no others.
struct Options : qelhosts::CommandLine {};

/// Returns the table of options and the manual. @param options  receives the values; must outlive the result.
qelhosts::Program describe(Options& options);

} // namespace qelworker
