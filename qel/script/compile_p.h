// Compiles source text to a closure; all script source passes through here.
#pragma once

#include <string_view>

#include <squirrel.h>

namespace qelSq::internal {

/// Compiles @p source and pushes the closure. A UTF-8 byte order mark at its start is skipped.
/// @p sourceName may be null.
/// @return true if it compiled.
/// @errors are reported to the compiler's error handler, and nothing is pushed.
bool compile(SQVM* vm, std::string_view source, const char* sourceName);

/// Script function `compilestring(text [, name])`: the same as the machine's own, but with a limit on
/// nesting.
SQInteger compileString(SQVM* vm);

} // namespace qelSq::internal
