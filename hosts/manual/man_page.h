// Writes the man page of a host.
#pragma once

#include <hosts/shared/program.h>

#include <string>
#include <string_view>

namespace qelhosts {

/// Returns the page of @p program for section 1, in the man(7) macros.
/// @param version  version of the package.
/// @param date     year, month and day, separated by "-".
std::string manPage(const Program& program, std::string_view version, std::string_view date);

} // namespace qelhosts
