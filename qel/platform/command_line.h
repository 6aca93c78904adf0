// Splits a command line into arguments and quotes arguments, without a shell.
#pragma once

#include <qel/platform/api.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qel::platform {

/// Splits a command line into its arguments. Nothing is expanded. The rules are these:
/// - Spaces, tabs and newlines outside quotes separate arguments.
/// - Between single quotes every character is literal.
/// - Between double quotes a backslash before a double quote, a backslash, a dollar sign or a backquote
///   makes that character literal. All other characters, including other backslashes, are literal.
/// - Outside quotes a backslash makes the next character literal.
/// - Adjacent quoted and unquoted pieces form one argument, and an empty pair of quotes forms an empty one.
/// These are the quoting rules of the POSIX shell, so a line can be tried there.
/// @return nothing if a quote is not closed, a backslash ends the line, or a byte is zero.
QEL_API std::optional<std::vector<std::string>> splitCommandLine(std::string_view line);

/// Quotes @p argument so that splitCommandLine returns it unchanged as one argument, whatever bytes other
/// than zero it contains. Plain words are returned unquoted.
QEL_API std::string quoteArgument(std::string_view argument);

} // namespace qel::platform
