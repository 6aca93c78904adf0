// What the user sees: log lines in colour, a line of progress, results.
#pragma once

#include <string_view>

namespace qelhost::terminal {

/// From now on log lines are drawn here: with colours and without upsetting the progress line on a terminal,
/// plain otherwise.
void install();
/// Puts the library's own way of showing log lines back, and removes the progress line.
void remove();

/// Prints a result: @p text and a newline, without time or colour. @threads any thread.
void print(std::string_view text);
/// Shows @p text as the last line of the terminal, cut to its width; empty removes it. Where standard output
/// is no terminal, nothing is shown. @threads any thread.
void showProgress(std::string_view text);

} // namespace qelhost::terminal
