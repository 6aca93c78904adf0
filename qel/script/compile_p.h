// The one way from source text to a closure.
#pragma once

#include <string_view>

#include <squirrel.h>

namespace qelSq::internal {

/// Compiles @p source and pushes the closure. A UTF-8 byte order mark at its start is skipped.
/// @p sourceName may be null.
/// @errors reported to the compiler's handler, nothing is pushed.
bool compile(SQVM* vm, std::string_view source, const char* sourceName);

/// Script function `compilestring(text [, name])`: as the machine's own, with the bound on nesting.
SQInteger compileString(SQVM* vm);

} // namespace qelSq::internal
