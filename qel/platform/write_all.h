// Writing all of a text to an open file, in as many calls as it takes.
#pragma once

#include <qel/platform/api.h>
#include <qel/platform/file_system.h>

#include <string_view>

namespace qel::platform {

/// Writes all of @p bytes at the current position and waits while a pipe is full. Callers that may write to a
/// pipe use writeWhole(), which also prevents the signal that a pipe without a reader raises.
QEL_API FileError writeAll(FileHandle& file, std::string_view bytes);

} // namespace qel::platform
