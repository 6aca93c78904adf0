// The vector instructions that the processor offers.
#pragma once

#include <qel/platform/api.h>

namespace qel::platform {

/// Sets of vector instructions. Each level includes all levels before it.
enum class VectorLevel {
    SSSE3,          ///< available on every x86-64 processor since 2006
    SSE4,           ///< SSE 4.1, 4.2, AES and carry-less multiplication
    AVX2,           ///< AVX, AVX2, FMA, BMI 1 and 2, F16C, LZCNT
    AVX512,         ///< AVX-512 F, CD, VL, DQ, BW
    AVX512Extended, ///< AVX-512 VNNI, VBMI 1 and 2, BITALG, VPOPCNTDQ; GFNI, VAES, VPCLMULQDQ
};

/// Returns true if this processor and its operating system support @p level. @threads any thread.
QEL_API bool hasVectorLevel(VectorLevel level);

} // namespace qel::platform
