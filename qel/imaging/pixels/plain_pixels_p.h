// The definition of each conversion of single pixels. The vector kernels equal these functions in every bit.
#pragma once

#include <qel/foundation/base/types.h>

#include <algorithm>
#include <cstring>

namespace qel::internal {

/// Reads a value that need not be aligned.
template <typename T>
inline T loadValue(const uint8* p) {
    T value;
    std::memcpy(&value, p, sizeof value);
    return value;
}

/// Writes a value that need not be aligned.
template <typename T>
inline void storeValue(uint8* p, T value) {
    std::memcpy(p, &value, sizeof value);
}

/// Limits @p v to 0 to @p most and rounds halves away from zero; NaN becomes 0.
inline unsigned roundClamped(float v, float most) {
    const float limited = v > 0 ? (v < most ? v : most) : 0;
    const auto whole = static_cast<unsigned>(limited);
    return whole + (limited - static_cast<float>(whole) >= 0.5f ? 1 : 0);
}

/// The bytes of a pixel of a conversion.
template <size_t In, size_t Out>
struct PixelBytes {
    static constexpr size_t kIn = In;
    static constexpr size_t kOut = Out;
};

/// Byte i of the target is byte `Bytes[i]` of a source pixel of `In` bytes.
template <size_t In, size_t... Bytes>
struct PickBytes : PixelBytes<In, sizeof...(Bytes)> {
    static void convert(uint8* out, const uint8* in) {
        const uint8 picked[] = {in[Bytes]...};
        std::memcpy(out, picked, sizeof picked);
    }
};

/// The sum of the first three bytes.
inline unsigned sumOfThree(const uint8* in) {
    return unsigned{in[0]} + in[1] + in[2];
}

/// The rounded mean of the first three bytes of `In`.
template <size_t In>
struct MeanOfThree : PixelBytes<In, 1> {
    static void convert(uint8* out, const uint8* in) { *out = static_cast<uint8>((sumOfThree(in) + 1) / 3); }
};

/// The mean of three bytes, then the fourth byte.
struct MeanAndAlpha : PixelBytes<4, 2> {
    static void convert(uint8* out, const uint8* in) {
        const uint8 alpha = in[3];
        MeanOfThree<4>::convert(out, in);
        out[1] = alpha;
    }
};

/// The mean of three bytes as 16 bits.
struct MeanOfThree16 : PixelBytes<4, 2> {
    static void convert(uint8* out, const uint8* in) {
        storeValue(out, static_cast<uint16>((sumOfThree(in) << 8 | 192) / 3));
    }
};

/// The upper 8 of 9 bits in all channels; larger values saturate.
struct NineBitsToRgb : PixelBytes<2, 3> {
    static void convert(uint8* out, const uint8* in) {
        const unsigned value = std::min(loadValue<uint16>(in) >> 1, 255);
        std::memset(out, static_cast<int>(value), 3);
    }
};

/// 16 bits as 0 to 1. The factor is 1 / 65535 in single precision; dividing would round otherwise.
struct WordToFloat : PixelBytes<2, 4> {
    static constexpr float kFactor = 1.5259022e-5f;
    static void convert(uint8* out, const uint8* in) {
        storeValue(out, static_cast<float>(loadValue<uint16>(in)) * kFactor);
    }
};

/// 0 to 1 as a byte in all channels.
struct FloatToRgb : PixelBytes<4, 3> {
    static void convert(uint8* out, const uint8* in) {
        const float value = loadValue<float>(in);
        const float limited = value > 0 ? (value < 1 ? value : 1) : 0;
        std::memset(out, static_cast<int>(roundClamped(limited * 255, 255)), 3);
    }
};

/// Luma of R, G, B, full range.
struct FullLuma : PixelBytes<4, 1> {
    static void convert(uint8* out, const uint8* in) {
        *out = static_cast<uint8>((306 * in[0] + 601 * in[1] + 116 * in[2] + 512) >> 10);
    }
};

/// Luma of B, G, R, video range.
struct VideoLuma : PixelBytes<4, 1> {
    static void convert(uint8* out, const uint8* in) {
        *out = static_cast<uint8>((66 * (in[2] + 64) + 129 * in[1] + 25 * in[0]) >> 8);
    }
};

/// Converts a row of @p n pixels.
template <typename Pixel>
void plainRow(uint8* out, const uint8* in, size_t n) {
    for (size_t i = 0; i < n; ++i) Pixel::convert(out + i * Pixel::kOut, in + i * Pixel::kIn);
}

} // namespace qel::internal
