// Colours drawn on pixels of the target.
#pragma once

#include <qel/software3d/pixel_math_p.h>

namespace qel::internal {

/// R, G, B and A from 0 to 1.
struct Rgba {
    float r = 0;
    float g = 0;
    float b = 0;
    float a = 0;
};

/// Returns the colour between two others. @param f  the share of the second one, 0 to 1.
inline Rgba mix(const Rgba& a, const Rgba& b, float f) {
    return {a.r + (b.r - a.r) * f, a.g + (b.g - a.g) * f, a.b + (b.b - a.b) * f, a.a + (b.a - a.a) * f};
}

/// Draws a colour, multiplied by its coverage @p color.a, on a BGRA8 pixel, whose alpha becomes the union of
/// both.
inline void blendPixel(uint8* pixel, const Rgba& color) {
    const float rest = 1 - color.a;
    const float channels[] = {color.b, color.g, color.r, color.a};
    for (int c = 0; c < 4; ++c)
        pixel[c] = toColorByte(channels[c] + rest * (static_cast<float>(pixel[c]) * (1 / 255.0f)));
}

} // namespace qel::internal
