// Bounds how deep the compiler will call itself for a source.
#pragma once

#include <qel/platform/api.h>

#include <cstddef>
#include <string_view>

namespace qelSq::internal {

/// Where a source is nested too deep.
struct NestingExcess {
    bool found = false; ///< whether it is
    int line = 0;       ///< the line, from 1, where the limit is passed
};

/// Walks @p source once and counts what the compiler calls itself for: open brackets, and the operators,
/// functions, classes and statements that wait for the end of what follows them. Errors of syntax are the
/// compiler's business.
/// @param limit  constructs that may be open at the same place.
QEL_API NestingExcess findNestingExcess(std::string_view source, size_t limit);

} // namespace qelSq::internal
