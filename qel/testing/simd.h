// Test seam: the vector instructions that the kernels use.
#pragma once

#include <qel/platform/api.h>

#include <string>
#include <string_view>
#include <vector>

namespace qel::seams {

/// Returns the names of the instruction sets that this build and machine share, best first, such as "AVX3" or
/// "SSE4".
QEL_API std::vector<std::string> simdTargets();
/// Limits all kernels of the library to the target @p name; an empty name removes the limit.
/// @return false, with nothing changed, if the name is not in simdTargets().
/// @threads any thread, while no other thread runs a kernel.
QEL_API bool setSimdTarget(std::string_view name);

} // namespace qel::seams
