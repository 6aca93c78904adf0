// Command lines as one text: cut into arguments, and put together, without a shell.
#pragma once

#include <qel/platform/api.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qel::platform {

/// Cuts a command line into its arguments. Nothing is expanded and nothing is special but this:
/// - blanks, tabs and newlines outside quotes separate arguments;
/// - between single quotes every character stands for itself;
/// - between double quotes a backslash before a double quote, a backslash, a dollar sign or a backquote
/// stands
///   for that character, and every other character, other backslashes too, for itself;
/// - outside quotes a backslash makes the next character stand for itself;
/// - quoted and bare pieces that touch make one argument, and an empty pair of quotes makes an empty one.
/// These are the quoting rules of the POSIX shell, so that a line can be tried there.
/// @return nothing when a quote is left open, a backslash ends the line, or a byte is zero.
QEL_API std::optional<std::vector<std::string>> splitCommandLine(std::string_view line);

/// @p argument in a form that splitCommandLine gives back unchanged as one argument, whatever its bytes (zero
/// excepted). Plain words come as they are.
QEL_API std::string quoteArgument(std::string_view argument);

} // namespace qel::platform
