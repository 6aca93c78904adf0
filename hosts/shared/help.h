// The text of --help.
#pragma once

#include <hosts/shared/program.h>

#include <string>
#include <string_view>

namespace qelhosts {

/// Returns the help of @p program: lines of at most 80 characters, each with a newline.
std::string helpText(const Program& program);

/// Returns the meaning of an option, after the command that has it.
std::string optionMeaning(const Option& option);

/// Returns "-h, --help" for "-h,--help", and "--data FILE" for an option with a value.
std::string optionSynopsis(const Option& option);

} // namespace qelhosts
