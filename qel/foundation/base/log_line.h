// The way into the log for code that lies below it.
#pragma once

#include <qel/platform/api.h>

#include <string_view>

namespace qel::internal {

/// Logs one line on the technical channel. Defined in foundation/log/message_stream.cpp.
/// @param level  0 verbose, 1 info, 2 warning, 3 error, 4 assert.
/// @threads any thread.
QEL_API void logLine(int level, std::string_view text);

} // namespace qel::internal
