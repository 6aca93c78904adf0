// Rows of texels and of colours: decoding, sampling and drawing, as the plain functions do it for one pixel.
#pragma once

#include <qel/render/surface_p.h>
#include <qel/render/texel_grid_p.h>

#include <cstddef>

namespace qel::internal {

/// Converts @p count packed texels of one format to colours or to pixels. The memory of colours has room for
/// kRowPadding floats more, which may change.
///
/// Colours are floats: four for each texel, in the order of the target's bytes B, G, R, A, or one for grey.
/// Pixels are those that a white tint draws on BGRA8.
using DecodeTexels = void (*)(const uint8* texels, int count, float* colors);
using ExpandTexels = void (*)(const uint8* texels, int count, uint8* pixels);
/// Shows @p count packed texels v as opaque grey pixels `v * scale + bias` of a BGRA8 target.
using ShowTexels = void (*)(const uint8* texels, int count, float scale, float bias, uint8* pixels);

/// Floats after a row, so that kernels may read and write whole vectors.
inline constexpr int kRowPadding = 16;

/// The row functions of a texture format; null where texels must be converted one by one.
struct TexelRows {
    ExpandTexels expand = nullptr;
    bool isOpaque = false;             ///< expand() creates opaque pixels
    DecodeTexels decode = nullptr;     ///< channels from 0 to 1
    DecodeTexels decodeRaw = nullptr;  ///< the integers as they are stored
    DecodeTexels decodeGrey = nullptr; ///< for formats without colour and alpha
    DecodeTexels decodeGreyRaw = nullptr;
    ShowTexels showGreyRaw = nullptr;
};

/// Returns the row functions of @p format.
TexelRows texelRows(FormatID format);

/// The texels of neighbouring pixels along an axis.
struct TexelSteps {
    int* first;      ///< the second texel of bilinear sampling is the next one
    float* fraction; ///< how far the pixel is from the first to the second; null for nearest sampling
};

/// Computes the texels of @p count columns from column @p begin. With fractions the first texel is -1 to the
/// last one: the edge of the texture repeats on both sides.
void stepColumns(const TexelAxis& axis, int begin, int count, const TexelSteps& steps);

/// Packs texels of 4 bytes. @param size  the number of texels in @p line.
/// @param first  the texels to pack: @p count of them, in rising or in falling order.
void selectTexels4(const uint8* line, int size, const int* first, int count, uint8* out);

/// Mixes two rows of floats: `(1 - fraction) * a + fraction * b`.
void mixRows(const float* a, const float* b, float fraction, int count, float* out);
/// Mixes the two texels of each step. @tparam channels  4 or 1.
template <int channels>
void resampleRow(const float* texels, const TexelSteps& steps, int count, float* out);

/// A row of colours or of grey values, or two of which it is the mixture. Rows end at a whole vector.
struct ColorRow {
    const float* a;
    const float* b; ///< null for one row
    float fraction;
};

/// Draws BGRA8 pixels over rows of a BGRA8 target, as a white tint does.
void drawPixelRows(uint8* target, std::ptrdiff_t pitch, const uint8* pixels, std::ptrdiff_t pixelPitch,
                   int width, int height);
/// Draws colours with a tint over a row of a BGRA8 target.
void blendColors(uint8* target, const ColorRow& colors, int count, const Color& tint);
/// Stores grey values from 0 to 1 as opaque pixels of a BGRA8 target.
void storeGreys(uint8* target, const ColorRow& values, int count);
/// Stores bytes of a table as opaque grey pixels of a BGRA8 target.
/// @param places     indices into the table, which are limited to 0 to @p top and truncated.
/// @param tableRows  the rows of the table for pixels of even and of odd numbers.
void storeLookups(uint8* target, const float* places, int count, const uint8* const (&tableRows)[2],
                  float top);
/// Draws colours that are multiplied by their alpha over a row of a BGRA8 target, whose alpha stays.
void blendPremultiplied(uint8* target, const float* colors, int count, const Color& tint);
/// Replaces each value v by `v * scale + bias`.
void scaleValues(float* values, int count, float scale, float bias);

} // namespace qel::internal
