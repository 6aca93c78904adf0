// Spans of one colour: the fast forms of Pixel::write() and blendPixel() on a row.
#pragma once

#include <qel/render/surface_p.h>

namespace qel::internal {

/// Stores one pixel's bytes @p count times.
void repeatPixel32(uint8* p, int count, uint32 pixel);

/// How one colour is mixed with old pixels: each channel becomes `source + keep * old`.
struct SpanMix {
    float source[4]; ///< in the order of the target's bytes; the tint times its alpha
    float keep[4];   ///< one minus the alpha; 0 for the alpha channel, whose source is the alpha
};

void mixSpanBgra8(uint8* p, int count, const SpanMix& mix);
void mixSpanGrey8(uint8* p, int count, const SpanMix& mix);
void mixSpanGrey16(uint8* p, int count, const SpanMix& mix);

/// Stores @p color on @p count pixels.
template <typename Pixel>
void storeSpan(uint8* p, int count, const Color& color) {
    uint8 bytes[4] = {};
    Pixel::write(bytes, color);
    if constexpr (Pixel::kBytes == 1) {
        std::memset(p, bytes[0], static_cast<size_t>(count));
    } else if constexpr (Pixel::kBytes == 4) {
        uint32 pixel;
        std::memcpy(&pixel, bytes, sizeof pixel);
        repeatPixel32(p, count, pixel);
    } else {
        for (int i = 0; i < count; ++i) std::memcpy(p + i * Pixel::kBytes, bytes, Pixel::kBytes);
    }
}

/// Draws @p tint, which is visible, on @p count pixels as blendPixel() does.
template <typename Pixel>
void blendSpan(uint8* p, int count, const Color& tint) {
    const float a = tint.w;
    if (a > kSolidAlpha) return storeSpan<Pixel>(p, count, tint);
    if constexpr (Pixel::kBytes == 4) {
        const SpanMix mix{{a * tint.z, a * tint.y, a * tint.x, a}, {1 - a, 1 - a, 1 - a, 0}};
        mixSpanBgra8(p, count, mix);
    } else {
        const SpanMix mix{{a * tint.x, a * tint.y, a * tint.z, a}, {1 - a, 1 - a, 1 - a, 0}};
        Pixel::kBytes == 1 ? mixSpanGrey8(p, count, mix) : mixSpanGrey16(p, count, mix);
    }
}

} // namespace qel::internal
