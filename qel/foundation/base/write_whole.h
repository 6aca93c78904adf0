// Writing whole texts to files, pipes and the standard streams.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/console.h>
#include <qel/platform/file_system.h>

#include <string_view>

namespace qel {

/// Writes all of @p bytes, with several calls if necessary, and waits while a pipe is full. A pipe that
/// nobody reads is an error and raises no signal.
QEL_API platform::FileError writeWhole(platform::FileHandle& file, std::string_view bytes);

/// Writes all of @p text to @p stream, after what the C library has buffered for it. Whatever this library
/// and its hosts say on standard output or standard error is written by this function.
/// @threads any thread; whoever shares standard output holds System::getStdOutMutex() meanwhile.
/// @errors also kept for standardStreamError().
QEL_API platform::FileError writeToStandardStream(platform::StandardStream stream, std::string_view text);

/// The first error of writeToStandardStream() on @p stream since the process started; empty without a failed
/// write.
/// @threads any thread.
QEL_API platform::FileError standardStreamError(platform::StandardStream stream);

} // namespace qel
