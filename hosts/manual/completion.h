// Writes the completion of a host's command line.
#pragma once

#include <hosts/shared/program.h>

#include <string>

namespace qelhosts {

/// Returns a script that makes bash complete the options of @p program, their values and file names.
std::string bashCompletion(const Program& program);

} // namespace qelhosts
