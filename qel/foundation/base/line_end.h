// The search for the ends of lines in bytes.
#pragma once

#include <qel/platform/api.h>

namespace qel::internal {

/// Finds the first line feed or carriage return in [@p begin, @p end) with vector instructions.
/// @return @p end if neither occurs. @threads any thread.
QEL_API const char* findLineEnd(const char* begin, const char* end);

} // namespace qel::internal
