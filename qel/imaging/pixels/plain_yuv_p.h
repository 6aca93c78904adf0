// The definition of the conversions between colours and YUV. The vector kernels equal these functions in
// every bit.
#pragma once

#include <qel/foundation/base/types.h>

#include <algorithm>

namespace qel::internal {

/// Full range, for pixels in the order R, G, B.
struct FullMatrix {
    static void chroma(uint8* u, uint8* v, int r, int g, int b) {
        *u = static_cast<uint8>(std::min(((b + 257) * 512 - 339 * g - 173 * r) >> 10, 255));
        *v = static_cast<uint8>(std::min(((r + 257) * 512 - 429 * g - 83 * b) >> 10, 255));
    }
    static void colours(int y, int u, int v, int& r, int& g, int& b) {
        r = y + ((1434 * v - 183040) >> 10);
        g = y + ((138624 - 351 * u - 728 * v) >> 10);
        b = y + ((1807 * u - 230784) >> 10);
    }
};

/// Video range, for pixels in the order B, G, R.
struct VideoMatrix {
    static void chroma(uint8* u, uint8* v, int r, int g, int b) {
        *u = static_cast<uint8>((112 * b - 74 * g - 38 * r + 32896) >> 8);
        *v = static_cast<uint8>((112 * r - 94 * g - 18 * b + 32896) >> 8);
    }
    static void colours(int y, int u, int v, int& r, int& g, int& b) {
        b = (74 * y + 127 * u - 17440) >> 6;
        g = (74 * y - 25 * u - 52 * v + 8672) >> 6;
        r = (74 * y + 102 * v - 14240) >> 6;
    }
};

/// Writes one pixel of `Bytes` bytes with red at byte `Red`.
template <typename Matrix, size_t Bytes, size_t Red>
void plainYuvPixel(uint8* out, int y, int u, int v) {
    int r = 0, g = 0, b = 0;
    Matrix::colours(y, u, v, r, g, b);
    out[Red] = static_cast<uint8>(std::clamp(r, 0, 255));
    out[1] = static_cast<uint8>(std::clamp(g, 0, 255));
    out[2 - Red] = static_cast<uint8>(std::clamp(b, 0, 255));
    if constexpr (Bytes == 4) out[3] = 255;
}

} // namespace qel::internal
