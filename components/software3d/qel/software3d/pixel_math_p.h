// Arithmetic that decides pixels: plain operations on floats, with the same results on every processor.
#pragma once

#include <qel/foundation/base/types.h>

#include <bit>
#include <cmath>

namespace qel::internal {

/// Returns the natural logarithm of 1 - @p a, for 0 <= a < 1.
inline float logOneMinus(float a) {
    int exponent = 0;
    float s = a / (a - 2); // (x - 1) / (x + 1) for x = 1 - a
    if (a > 0.25f) {
        const auto bits = std::bit_cast<uint32>(1 - a);
        // Moves the mantissa to 0.7 to 1.4, where the series is short.
        exponent = static_cast<int>(bits - 0x3F3504F3u) >> 23;
        const float x = std::bit_cast<float>(bits - (static_cast<uint32>(exponent) << 23));
        s = (x - 1) / (x + 1);
    }
    const float q = s * s;
    const float series = 1 + q * (1 / 3.0f + q * (1 / 5.0f + q * (1 / 7.0f + q * (1 / 9.0f))));
    return 2 * s * series + static_cast<float>(exponent) * 0.69314718f;
}

/// Returns 1 - exp(@p x), for x <= 0.
inline float oneMinusExp(float x) {
    if (x < -60) return 1;
    const float n = std::floor(x * 1.44269504f + 0.5f);
    const float r = x - n * 0.693145752f - n * 1.42860677e-6f; // ln 2 in two parts
    const float e =                                            // exp(r) - 1
        r * (1 + r * (1 / 2.0f + r * (1 / 6.0f + r * (1 / 24.0f + r * (1 / 120.0f + r * (1 / 720.0f))))));
    const float power = std::bit_cast<float>(static_cast<uint32>(static_cast<int>(n) + 127) << 23);
    return n == 0 ? -e : 1 - (e + 1) * power;
}

/// Returns the opacity of a path of @p length, if that of a path of length 1 is @p opacity, from 0 to 1.
inline float opacityOver(float opacity, float length) {
    if (!(opacity > 0)) return 0;
    if (opacity >= 1) return 1;
    return oneMinusExp(length * logOneMinus(opacity));
}

/// Returns @p value, from 0 to 1, as a byte; values outside are limited.
inline uint8 toColorByte(float value) {
    const float level = value * 255.0f + 0.5f;
    return level >= 255 ? uint8{255} : level > 0 ? static_cast<uint8>(level) : uint8{0};
}

/// Returns @p value limited to 0 to 1; 0 for NaN.
inline float toUnit(float value) {
    return value > 0 ? (value < 1 ? value : 1.0f) : 0.0f;
}

} // namespace qel::internal
