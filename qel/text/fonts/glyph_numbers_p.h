// Numbers of glyphs: lengths in the 16 bits of Font::Character, and keys of pairs.
#pragma once

#include <qel/foundation/base/types.h>

#include <algorithm>
#include <cmath>

namespace qel::internal {

/// Returns @p value, limited to the range of 16 bits.
constexpr int16 toInt16(int64 value) {
    return static_cast<int16>(std::clamp<int64>(value, -0x8000, 0x7FFF));
}

/// Returns the key of two adjacent characters.
constexpr uint64 kerningKey(uint32 first, uint32 second) {
    return uint64{first} << 32 | second;
}

/// Returns @p value rounded and limited to the range of 16 bits; 0 for a value that is not a number.
inline int16 roundToInt16(float value) {
    if (std::isnan(value)) return 0;
    return static_cast<int16>(std::lround(std::clamp(value, -32768.0f, 32767.0f)));
}

} // namespace qel::internal
