// Conversions of rows between colours and YUV 4:2:0.
//
// There are two matrices on purpose, and the order of the bytes decides: RGB order is full range with 10 bits
// of fixed point, BGR order is video range. They must not be mixed.
#pragma once

#include <qel/foundation/base/types.h>

namespace qel::internal {

/// Chroma of @p pairs pixel pairs of two RGBA8 rows: that of the odd pixel of the second row.
void rowFullChroma(uint8* u, uint8* v, const uint8* first, const uint8* second, size_t pairs);
/// Chroma of @p pairs pixel pairs of two BGRA8 rows: that of the mean of the four pixels.
void rowVideoChroma(uint8* u, uint8* v, const uint8* first, const uint8* second, size_t pairs);
/// Chroma of a last column without a partner: that of the pixel of the second row.
void fullChromaOfColumn(uint8* u, uint8* v, const uint8* first, const uint8* second);
/// Chroma of a last column without a partner: that of the mean of both rows.
void videoChromaOfColumn(uint8* u, uint8* v, const uint8* first, const uint8* second);

/// Converts two rows of @p n pixels; pixel x of both has the chroma sample x / 2.
using YuvRowsFunction = void(uint8* const* out, const uint8* const* y, const uint8* u, const uint8* v,
                             size_t n);

YuvRowsFunction rowsYuvToRgb;  ///< full range, to RGB8
YuvRowsFunction rowsYuvToRgba; ///< full range, to RGBA8 with alpha 255
YuvRowsFunction rowsYuvToBgra; ///< video range, to BGRA8 with alpha 255

} // namespace qel::internal
