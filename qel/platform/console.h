// What the standard streams are connected to.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

namespace qel::platform {

/// One of the process's three standard streams.
enum class StandardStream { Input = 0, Output = 1, Error = 2 };

/// A handle to @p stream, which belongs to the process: the caller does not close it but releases it.
/// @threads any thread.
QEL_API FileHandle borrowStandardStream(StandardStream stream);

/// Takes the descriptors of standard streams that the process was started without, so that no file opened
/// later becomes one of them. Such a standard input is empty, and writes to such an output fail.
/// @threads before the process opens a file or starts a thread.
QEL_API void occupyMissingStandardStreams();

/// Whether @p stream is a terminal, that is, a person.
/// @threads any thread.
QEL_API bool isTerminal(StandardStream stream);

/// Columns of the terminal that @p stream is; 80 when it is none or does not say.
/// @threads any thread.
QEL_API int terminalWidth(StandardStream stream);

/// Whether colours are wanted on @p stream: it is a terminal, TERM is set and not "dumb", and NO_COLOR is not
/// set to anything.
/// @threads any thread that does not run beside a change of the environment.
QEL_API bool wantsColor(StandardStream stream);

} // namespace qel::platform
