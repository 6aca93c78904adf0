// Surface: the pixels of a render target, and how colours are read from them and written to them.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/types.h>
#include <qel/imaging/pixels/image.h>
#include <qel/render/draw_limits_p.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace qel::internal {

using Color = IVec4<float>;

/// Returns @p v within 0 to 1; 0 for NaN.
inline float clampUnit(float v) {
    return v > 0 ? (v < 1 ? v : 1.0f) : 0.0f;
}

/// Pixels of the bytes B, G, R, A.
struct Bgra8 {
    static constexpr int kBytes = 4;

    static Color read(const uint8* p) {
        constexpr float kScale = 0.003921569f;
        return {static_cast<float>(p[2]) * kScale, static_cast<float>(p[1]) * kScale,
                static_cast<float>(p[0]) * kScale, static_cast<float>(p[3]) * kScale};
    }
    static void write(uint8* p, const Color& c) {
        p[0] = toByte(c.z);
        p[1] = toByte(c.y);
        p[2] = toByte(c.x);
        p[3] = toByte(c.w);
    }

private:
    static uint8 toByte(float v) { return static_cast<uint8>(clampUnit(v) * 255.0f + 0.5f); }
};

/// Grey pixels of one byte.
struct Grey8 {
    static constexpr int kBytes = 1;

    static Color read(const uint8* p) {
        const float v = static_cast<float>(*p) * 0.003921569f;
        return {v, v, v, 1.0f};
    }
    static void write(uint8* p, const Color& c) {
        *p = static_cast<uint8>(clampUnit((c.x + c.y + c.z) / 3.0f) * 255.0f + 0.5f);
    }
};

/// Grey pixels of 16 bits, at any address.
struct Grey16 {
    static constexpr int kBytes = 2;

    static Color read(const uint8* p) {
        uint16 value;
        std::memcpy(&value, p, sizeof value);
        const float v = static_cast<float>(value) * 1.5259022e-5f;
        return {v, v, v, 1.0f};
    }
    static void write(uint8* p, const Color& c) {
        const uint16 value = static_cast<uint16>(clampUnit((c.x + c.y + c.z) / 3.0f) * 65535.0f + 0.5f);
        std::memcpy(p, &value, sizeof value);
    }
};

enum class SurfaceKind : uint8 { None, Bgra8, Grey8, Grey16 };

/// Returns how targets of @p format are drawn on; None if it cannot be drawn on.
inline SurfaceKind surfaceKind(FormatID format) {
    switch (format) {
    case BGRA8:
        return SurfaceKind::Bgra8;
    case UInt8:
    case L8:
        return SurfaceKind::Grey8;
    case UInt16:
    case L16:
    case X16:
        return SurfaceKind::Grey16;
    default:
        return SurfaceKind::None;
    }
}

/// Calls @p f with an object of the pixel type of @p kind, which is not None.
template <typename F>
void withPixelType(SurfaceKind kind, F f) {
    switch (kind) {
    case SurfaceKind::Bgra8:
        f(Bgra8());
        break;
    case SurfaceKind::Grey8:
        f(Grey8());
        break;
    case SurfaceKind::Grey16:
        f(Grey16());
        break;
    case SurfaceKind::None:
        break;
    }
}

/// The pixels of a render target. It is a view: the image must stay as it is.
struct Surface {
    uint8* pixels = nullptr;
    std::ptrdiff_t pitch = 0;
    IVec2<int> size;
    SurfaceKind kind = SurfaceKind::None;
    bool isPlain = false; ///< pixels are drawn one by one, by the functions that define the results

    /// Describes nothing if @p image is null or has no pixels.
    static Surface of(Image* image) {
        Surface surface;
        if (image == nullptr || !image->hasPixels()) return surface;
        surface.kind = surfaceKind(image->getImageFormat());
        surface.pixels = image->getBytePointer();
        surface.pitch = image->getPitch();
        surface.size = image->getSize();
        return surface;
    }

    uint8* row(int y) const { return pixels + y * pitch; }
    friend bool operator==(const Surface&, const Surface&) = default;
};

/// Returns the pixels in both rectangles.
inline IVec4<int> intersect(const IVec4<int>& a, const IVec4<int>& b) {
    return {std::max(a.x, b.x), std::max(a.y, b.y), std::min(a.z, b.z), std::min(a.w, b.w)};
}

inline bool isEmpty(const IVec4<int>& area) {
    return !(area.x < area.z && area.y < area.w);
}

/// Draws @p source on a pixel: solid colours replace it, others are mixed with it. The alpha of the source
/// becomes that of the pixel.
template <typename Pixel>
void blendPixel(uint8* p, const Color& source) {
    const float a = source.w;
    if (!(a > kInvisibleAlpha)) return;
    if (a > kSolidAlpha) return Pixel::write(p, source);
    const Color old = Pixel::read(p);
    Pixel::write(p, {a * source.x + (1 - a) * old.x, a * source.y + (1 - a) * old.y,
                     a * source.z + (1 - a) * old.z, a});
}

} // namespace qel::internal
