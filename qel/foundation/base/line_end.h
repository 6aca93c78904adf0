// The search for the ends of lines in bytes.
#pragma once

#include <qel/platform/api.h>

namespace qel::internal {

/// The first line feed or carriage return in [@p begin, @p end), by the vector instructions of the machine.
/// @return @p end where there is none. @threads any thread.
QEL_API const char* findLineEnd(const char* begin, const char* end);

} // namespace qel::internal
