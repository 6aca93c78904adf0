// The choice of a kernel at run time, among those that Highway's headers compile.
//
// Highway's own choice lives in its shared library, whose start-up code measures the processor's timer for
// milliseconds: longer than all the rest of a program's start. Include this after hwy/highway.h.
#pragma once

#include <qel/platform/api.h>

#include <hwy/highway.h>

#include <array>
#include <cstddef>

namespace qel::internal {

/// The number of targets a kernel may be compiled for.
inline constexpr size_t kSimdTargetCount = 5;

/// Returns the index in each SimdTable of the target in use: the best one that build and machine both
/// support, unless setSimdTarget() has limited it. @threads any thread.
QEL_API size_t simdTargetIndex();

/// One kernel, compiled for several targets, best first; null where the build leaves a target out.
template <typename Kernel>
struct SimdTable {
    std::array<Kernel, kSimdTargetCount> kernels;

    /// Calls the kernel of the target in use.
    template <typename... Args>
    auto operator()(Args&&... args) const {
        return kernels[simdTargetIndex()](static_cast<Args&&>(args)...);
    }
};

} // namespace qel::internal

/// Defines the table g_<KERNEL> of a kernel. Use it inside HWY_ONCE, in the namespace around HWY_NAMESPACE.
#define QEL_SIMD_TABLE(KERNEL)                                                                               \
    constexpr ::qel::internal::SimdTable<decltype(&HWY_STATIC_DISPATCH(KERNEL))> g_##KERNEL {                \
        {                                                                                                    \
            HWY_CHOOSE_AVX3_DL(KERNEL), HWY_CHOOSE_AVX3(KERNEL), HWY_CHOOSE_AVX2(KERNEL),                    \
                HWY_CHOOSE_SSE4(KERNEL), HWY_CHOOSE_SSSE3(KERNEL)                                            \
        }                                                                                                    \
    }
