// Choice of the instruction set that vector kernels run on.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/platform/api.h>

#include <string>
#include <string_view>

namespace qel::internal {

/// The instruction sets that the kernels were built for and this machine has, best first, as "AVX2".
/// @threads any thread.
QEL_API Vector<std::string> getSimdTargets();

/// Runs the kernels on no better instruction set than @p name; empty lifts the cap. For tests, which walk all
/// of them, and for measuring what lesser machines get.
/// @return false when @p name isn't one of getSimdTargets(); nothing changes then.
/// @threads one thread, while no kernel runs.
QEL_API bool capSimdTarget(std::string_view name);

} // namespace qel::internal
