// The choice of vector instructions for the kernels; <qel/testing/simd.h> is the public side.
#pragma once

#include <qel/foundation/base/containers.h>

#include <string>
#include <string_view>

namespace qel::internal {

/// Returns the names of the instruction sets that both this build and this machine support, best first, such
/// as "AVX3" or "SSE4".
Vector<std::string> simdTargets();
/// Limits all kernels of the library to the target @p name; an empty name removes the limit.
/// @return false, with nothing changed, if the name is not one of simdTargets().
/// @threads while no kernel runs on any other thread.
bool setSimdTarget(std::string_view name);

} // namespace qel::internal
