// The process's standard streams and terminals.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

namespace qel::platform {

/// One of the process's three standard streams.
enum class StandardStream { Input = 0, Output = 1, Error = 2 };

/// Returns a handle to @p stream. The descriptor belongs to the process: the caller must release the handle,
/// not close it.
/// @threads any thread.
QEL_API FileHandle borrowStandardStream(StandardStream stream);

/// Opens the null device for each standard stream that the process was started without, so that no file
/// opened later takes its number. Such a standard input is empty, and writes to such an output fail.
/// @threads call it before the process opens a file or starts a thread.
QEL_API void occupyMissingStandardStreams();

/// Returns true if @p stream is a terminal.
/// @threads any thread.
QEL_API bool isTerminal(StandardStream stream);

/// Returns the number of columns of the terminal @p stream; 80 if it is not a terminal or does not report its
/// width.
/// @threads any thread.
QEL_API int terminalWidth(StandardStream stream);

/// Returns true if output to @p stream should be coloured: it is a terminal, TERM is set and not "dumb", and
/// NO_COLOR is not set to a non-empty value.
/// @threads any thread, but not while another thread changes the environment.
QEL_API bool wantsColor(StandardStream stream);

} // namespace qel::platform
