// Output for the user: coloured log lines, a progress line, results.
#pragma once

#include <string_view>

namespace qelhost::terminal {

/// Shows log lines through this module from now on: on a terminal with colours and above the progress line,
/// otherwise plain.
void install();
/// Restores the library's own output of log lines and removes the progress line.
void remove();

/// Prints a result: @p text and a newline, without time or colour. @threads any thread.
void print(std::string_view text);
/// Shows @p text as the last line of the terminal, cut to its width; an empty text removes the line. Shows
/// nothing if standard output is not a terminal. @threads any thread.
void showProgress(std::string_view text);

} // namespace qelhost::terminal
