// Vector kernel of rows of pixels that have their own alpha.
#include <qel/render/texel_rows_p.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/render/pixel_rows_simd.cpp"
#include <hwy/foreach_target.h>

// Wider vectors are opaque or transparent as a whole less often, and gain nothing.
#define QEL_MOST_LANES 8
#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>
#include <qel/render/pixel_mixing.inc>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {
namespace {

HWY_INLINE void DrawOwnAlpha(uint8* p, hn::Vec<Pixels> source) {
    DrawWhole(p, source, hn::ShiftRight<24>(source));
}

/// Draws four vectors of pixels, with one test if all are opaque.
HWY_INLINE void DrawFourVectors(uint8* p, const uint8* pixels) {
    const size_t bytes = 4 * hn::Lanes(Pixels());
    const auto a = LoadPixels(pixels), b = LoadPixels(pixels + bytes);
    const auto c = LoadPixels(pixels + 2 * bytes), d = LoadPixels(pixels + 3 * bytes);
    const auto all = hn::And(hn::And(a, b), hn::And(c, d));
    if (AreOpaque(hn::ShiftRight<24>(all))) {
        StorePixels(a, p);
        StorePixels(b, p + bytes);
        StorePixels(c, p + 2 * bytes);
        StorePixels(d, p + 3 * bytes);
        return;
    }
    DrawOwnAlpha(p, a);
    DrawOwnAlpha(p + bytes, b);
    DrawOwnAlpha(p + 2 * bytes, c);
    DrawOwnAlpha(p + 3 * bytes, d);
}

/// Returns what becomes of a vector of the target.
HWY_INLINE hn::Vec<Pixels> MixedVector(const uint8* target, const uint8* pixels) {
    const auto source = LoadPixels(pixels);
    return MixByAlpha(source, LoadPixels(target), hn::ShiftRight<24>(source));
}

/// Draws a row. The first and the last vector may overlap others, so they are read before and stored after
/// those.
HWY_INLINE void DrawRow(uint8* target, const uint8* pixels, size_t count) {
    const size_t step = hn::Lanes(Pixels());
    if (count < step) {
        const auto source = LoadFirstPixels(pixels, count);
        return DrawFirst(target, count, source, hn::ShiftRight<24>(source));
    }
    const size_t last = count - step;
    const auto firstMixed = MixedVector(target, pixels);
    const auto lastMixed = MixedVector(target + 4 * last, pixels + 4 * last);
    size_t i = SecondVector(target, count);
    for (; i + 4 * step <= last; i += 4 * step) DrawFourVectors(target + 4 * i, pixels + 4 * i);
    for (; i < last; i += step) DrawOwnAlpha(target + 4 * i, LoadPixels(pixels + 4 * i));
    StorePixels(firstMixed, target);
    StorePixels(lastMixed, target + 4 * last);
}

void DrawPixelRows(uint8* target, std::ptrdiff_t pitch, const uint8* pixels, std::ptrdiff_t pixelPitch,
                   int width, int height) {
    for (; height > 0; --height, target += pitch, pixels += pixelPitch)
        DrawRow(target, pixels, static_cast<size_t>(width));
}

} // namespace
} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {

QEL_SIMD_TABLE(DrawPixelRows);

void drawPixelRows(uint8* target, std::ptrdiff_t pitch, const uint8* pixels, std::ptrdiff_t pixelPitch,
                   int width, int height) {
    g_DrawPixelRows(target, pitch, pixels, pixelPitch, width, height);
}

} // namespace qel::internal
#endif
