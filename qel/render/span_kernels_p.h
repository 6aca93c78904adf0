// Spans of one colour: the fast forms of Pixel::write() and blendPixel() on rows of pixels.
#pragma once

#include <qel/render/surface_p.h>

#include <cstddef>

namespace qel::internal {

/// Rows of equally long spans, one below the other.
struct SpanRows {
    uint8* pixels; ///< the first pixel of the first row
    std::ptrdiff_t pitch;
    int width;
    int height;
};

/// The first pixel of a span and one past its last one.
struct SpanEnds {
    int left;
    int right;
};

/// Stores a pixel of four bytes everywhere.
void fillRows32(const SpanRows& rows, uint32 pixel);
/// Stores a pixel of four bytes in a span of each row. @param row  the first row's pixel of column 0.
void fillSpans32(uint8* row, std::ptrdiff_t pitch, const SpanEnds* spans, int count, uint32 pixel);

/// An edge of a triangle: its first corner, the way to the next one, and the triangle's winding.
struct SpanEdge {
    double x, y;
    double dx, dy;
    double winding; ///< 1 or -1
};

/// Rows whose spans are found at once.
inline constexpr int kSolvedRows = 64;

/// Finds the pixels of each row that are inside three edges, among those from @p left to before @p right.
/// @return false if rounding makes a row difficult; @p out is then undefined.
bool solveSpans(const SpanEdge* edges, int top, int count, int left, int right, SpanEnds* out);

/// How one colour is mixed with old pixels: each channel becomes `source + keep * old`.
struct SpanMix {
    float source[4]; ///< in the order of the target's bytes; the tint times its alpha
    float keep[4];   ///< one minus the alpha; 0 for the alpha channel, whose source is the alpha

    /// Describes a tint that is neither invisible nor solid. The bytes of the target are B, G, R and A.
    static SpanMix of(const Color& tint) {
        const float a = tint.w;
        return {{a * tint.z, a * tint.y, a * tint.x, a}, {1 - a, 1 - a, 1 - a, 0}};
    }
};

/// The same in whole numbers of 16 bits: each channel becomes `((factor * old >> 8) + offset) >> 8`.
struct ByteMix {
    uint16 factor[4] = {};
    uint16 offset[4] = {};

    /// Finds numbers with which all old bytes become what they become in single precision.
    /// @return false if no such numbers exist.
    bool fit(const SpanMix& mix);
};

void mixRowsBgra8(const SpanRows& rows, const SpanMix& mix);
void mixRowsBgra8(const SpanRows& rows, const ByteMix& mix);
void mixRowsGrey8(const SpanRows& rows, const SpanMix& mix);
void mixRowsGrey16(const SpanRows& rows, const SpanMix& mix);

/// Stores @p color on all pixels.
template <typename Pixel>
void storeRows(const SpanRows& rows, const Color& color) {
    uint8 bytes[4] = {};
    Pixel::write(bytes, color);
    if constexpr (Pixel::kBytes == 4) {
        uint32 pixel = 0;
        std::memcpy(&pixel, bytes, sizeof pixel);
        return fillRows32(rows, pixel);
    }
    for (int y = 0; y < rows.height; ++y) {
        uint8* const p = rows.pixels + y * rows.pitch;
        if constexpr (Pixel::kBytes == 1) {
            std::memset(p, bytes[0], static_cast<size_t>(rows.width));
        } else {
            for (int x = 0; x < rows.width; ++x) std::memcpy(p + x * Pixel::kBytes, bytes, Pixel::kBytes);
        }
    }
}

/// Draws @p tint, which is visible, on all pixels as blendPixel() does.
template <typename Pixel>
void blendRows(const SpanRows& rows, const Color& tint) {
    if (tint.w > kSolidAlpha) return storeRows<Pixel>(rows, tint);
    const SpanMix mix = SpanMix::of(tint);
    if constexpr (Pixel::kBytes == 4) mixRowsBgra8(rows, mix);
    if constexpr (Pixel::kBytes == 2) mixRowsGrey16(rows, mix);
    if constexpr (Pixel::kBytes == 1) mixRowsGrey8(rows, mix);
}

/// Pixels of a smooth line, and how much of each it covers.
struct LinePixels {
    static constexpr int kMost = 64;
    uint8* places[kMost]; ///< BGRA8 pixels, no two the same
    float coverage[kMost];
    int count = 0;
};

/// Mixes @p tint with pixels by their coverage; the tint's alpha becomes theirs.
void coverPixels(const LinePixels& pixels, const Color& tint);

} // namespace qel::internal
