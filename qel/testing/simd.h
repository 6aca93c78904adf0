// Test seam: the vector instructions that the kernels use.
#pragma once

#include <qel/platform/api.h>

#include <string>
#include <string_view>
#include <vector>

namespace qel::seams {

/// The names of the instruction sets that this build and machine share, best first, as "AVX3" or "SSE4".
QEL_API std::vector<std::string> simdTargets();
/// Caps all kernels of the library at the target @p name; the empty name removes the cap.
/// @return false, with nothing changed, if the name is not one of simdTargets().
/// @threads while no kernel runs on any other thread.
QEL_API bool setSimdTarget(std::string_view name);

} // namespace qel::seams
