// Which vector instructions the kernels use; for tests and measurements.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/platform/api.h>

#include <string>
#include <string_view>

namespace qel::internal {

/// The names of the instruction sets that this build and machine share, best first, as "AVX3" or "SSE4".
QEL_API Vector<std::string> simdTargets();
/// Caps all kernels of the library at the target @p name; the empty name lifts the cap.
/// @return false, with nothing changed, when the name is none of simdTargets().
/// @threads while no kernel runs on any other thread.
QEL_API bool setSimdTarget(std::string_view name);

} // namespace qel::internal
