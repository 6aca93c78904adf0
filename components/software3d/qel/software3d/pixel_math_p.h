// Arithmetic that decides pixels: plain operations on floats, with the same results on every processor.
#pragma once

#include <qel/foundation/base/types.h>

#include <bit>
#include <cmath>

namespace qel::internal {

/// What a step of 1 in an 8-bit channel is worth.
inline constexpr float kColorUnit = 1 / 255.0f;
static_assert(255 * kColorUnit == 1);

/// The bits of the square root of 0.5: mantissas are moved to between it and twice its value, where the
/// series is short.
inline constexpr uint32 kRootHalfBits = 0x3F3504F3;
/// Up to this, 1 minus an opacity is larger than the square root of 0.5.
inline constexpr float kSmallOpacity = 0.29f;
/// log2((1 + s) / (1 - s)) = s * polynomial in s^2, with a relative error of 1.2e-7.
inline constexpr float kLogSeries[3] = {2.8853904f, 0.9615866f, 0.59586563f};
/// 2^r - 1 = r * polynomial in r, for -0.5 <= r <= 0.5, with a relative error of 5e-7.
inline constexpr float kExpSeries[5] = {0.6931472f, 0.24022349f, 0.05550381f, 0.009666368f, 0.00133813f};
/// The smallest exponent of powers of 2 that are computed.
inline constexpr float kLeastExponent = -126;

/// Returns the binary logarithm of 1 - @p a, for 0 < a < 1.
inline float log2OneMinus(float a) {
    const auto bits = std::bit_cast<uint32>(1 - a);
    const int exponent = static_cast<int>(bits - kRootHalfBits) >> 23;
    const float x = std::bit_cast<float>(bits - (static_cast<uint32>(exponent) << 23));
    const float t = exponent == 0 ? -a : x - 1; // of small opacities without rounding
    const float s = t / (2 + t);
    const float q = s * s;
    return s * (kLogSeries[0] + q * (kLogSeries[1] + q * kLogSeries[2])) + static_cast<float>(exponent);
}

/// Returns 2^r - 1, for -0.5 <= r <= 0.5.
inline float exp2MinusOne(float r) {
    const float* const c = kExpSeries;
    const float q = r * r; // terms that do not depend on each other
    return r * ((c[0] + r * c[1]) + q * ((c[2] + r * c[3]) + q * c[4]));
}

/// Returns 1 - 2^y, for y <= 0.
inline float oneMinusExp2(float y) {
    y = y > kLeastExponent ? y : kLeastExponent;
    const float n = std::floor(y + 0.5f);
    const float e = exp2MinusOne(y - n);
    const float power = std::bit_cast<float>(static_cast<uint32>(static_cast<int>(n) + 127) << 23);
    return n == 0 ? -e : 1 - (e + 1) * power;
}

/// Returns the opacity of a path of @p length, if that of a path of length 1 is @p opacity, from 0 to 1.
inline float opacityOver(float opacity, float length) {
    if (!(opacity > 0)) return 0;
    if (opacity >= 1) return 1;
    return oneMinusExp2(length * log2OneMinus(opacity));
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
