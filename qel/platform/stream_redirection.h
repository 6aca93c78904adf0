// Redirects a standard stream of the running process.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/console.h>
#include <qel/platform/file_system.h>

namespace qel::platform {

/// Makes @p stream refer to the file that @p target refers to. A program whose standard output is data does
/// this, so that nothing else that the process prints gets between the data.
/// @param original  receives what the stream referred to before, as a handle of its own.
/// @errors the stream is then unchanged.
/// @threads call it while no other thread uses the stream.
QEL_API FileError redirectStandardStream(StandardStream stream, const FileHandle& target,
                                         FileHandle& original);

} // namespace qel::platform
