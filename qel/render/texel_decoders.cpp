#include <qel/render/texel_decoders_p.h>

namespace qel::internal {

namespace {

float byteOf(uint8 v) {
    return static_cast<float>(v) / 255.0f;
}

float plainOf(uint8 v) {
    return static_cast<float>(v);
}

uint16 wordAt(const uint8* p) {
    uint16 word;
    std::memcpy(&word, p, sizeof word);
    return word;
}

/// Decoders of formats of bytes. @tparam channel  converts a byte; the indices name the bytes of R, G, B and
/// A. An index of -1 means the constant 1.
template <float (*channel)(uint8), int r, int g, int b, int a>
Color bytes(const uint8* p) {
    const auto at = [p](int i) { return i < 0 ? 1.0f : channel(p[i < 0 ? 0 : i]); };
    return {at(r), at(g), at(b), at(a)};
}

template <int size, int r, int g, int b, int a>
constexpr TexelFormat bytesFormat() {
    return {size, bytes<byteOf, r, g, b, a>, bytes<plainOf, r, g, b, a>, {}, false, false};
}

Color grey16(const uint8* p) {
    const float v = static_cast<float>(wordAt(p)) * 1.5259022e-5f;
    return {v, v, v, 1};
}

Color grey16Raw(const uint8* p) {
    const float v = static_cast<float>(wordAt(p));
    return {v, v, v, 1};
}

Color rgb565Raw(const uint8* p) {
    const int w = wordAt(p);
    return {static_cast<float>(w >> 11), static_cast<float>((w >> 5) & 63), static_cast<float>(w & 31), 1};
}

Color rgb565(const uint8* p) {
    const Color raw = rgb565Raw(p);
    return {raw.x * 0.032258064f, raw.y * 0.015873017f, raw.z * 0.032258064f, 1};
}

Color rgba4Raw(const uint8* p) {
    const int w = wordAt(p);
    return {static_cast<float>(w >> 12), static_cast<float>((w >> 8) & 15), static_cast<float>((w >> 4) & 15),
            static_cast<float>(w & 15)};
}

Color rgba4(const uint8* p) {
    const Color raw = rgba4Raw(p);
    return {raw.x / 15.0f, raw.y / 15.0f, raw.z / 15.0f, raw.w / 15.0f};
}

/// Returns the decoders of single texels.
TexelFormat plainFormat(FormatID format) {
    switch (format) {
    case A8:
        return bytesFormat<1, -1, -1, -1, 0>();
    case UInt8:
    case L8:
        return bytesFormat<1, 0, 0, 0, -1>();
    case UInt8x2:
    case LA8:
        return bytesFormat<2, 0, 0, 0, 1>();
    case RGB8:
        return bytesFormat<3, 0, 1, 2, -1>();
    case BGR8:
        return bytesFormat<3, 2, 1, 0, -1>();
    case RGBA8:
        return bytesFormat<4, 0, 1, 2, 3>();
    case BGRA8:
        return bytesFormat<4, 2, 1, 0, 3>();
    case UInt16:
    case L16:
    case X16:
        return {2, grey16, grey16Raw, {}, false, false};
    case RGB565:
        return {2, rgb565, rgb565Raw, {}, false, false};
    case RGBA4:
        return {2, rgba4, rgba4Raw, {}, false, false};
    default:
        return {};
    }
}

} // namespace

TexelFormat texelFormat(FormatID format) {
    TexelFormat result = plainFormat(format);
    result.rows = texelRows(format);
    result.isBgra = format == BGRA8;
    result.isMask = format == A8;
    return result;
}

} // namespace qel::internal
