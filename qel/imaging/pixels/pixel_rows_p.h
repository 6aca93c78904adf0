// Conversions of one row, by the vectors of the machine.
#pragma once

#include <qel/foundation/base/types.h>

namespace qel::internal {

/// Converts @p n pixels from @p in to @p out. Both may be the same memory if the target's pixels are not
/// larger.
using RowFunction = void(uint8* out, const uint8* in, size_t n);

RowFunction rowSwapPairs;     ///< 2 bytes exchanged
RowFunction rowSwapEnds3;     ///< 3 bytes, the first and the last exchanged
RowFunction rowSwapEnds4;     ///< 4 bytes, the first and the third exchanged
RowFunction rowSwapEnds4To3;  ///< the same without the fourth byte
RowFunction rowFirstThree;    ///< the first 3 of 4 bytes
RowFunction rowFirstOf3;      ///< the first of 3 bytes
RowFunction rowFirstOf4;      ///< the first of 4 bytes
RowFunction rowFourthOf4;     ///< the last of 4 bytes
RowFunction rowFirstAndLast;  ///< the first and the last of 4 bytes
RowFunction rowThreeTimes;    ///< a byte in 3 channels
RowFunction rowMeanOf3;       ///< the mean of 3 bytes
RowFunction rowMeanOf4;       ///< the mean of the first 3 of 4 bytes
RowFunction rowMeanAndAlpha;  ///< the mean of the first 3 bytes, then the fourth
RowFunction rowMean16Of4;     ///< the mean of the first 3 of 4 bytes as 16 bits
RowFunction rowNineBitsToRgb; ///< 9 of 16 bits as 3 channels
RowFunction rowWordToFloat;   ///< 16 bits as single precision
RowFunction rowFloatToRgb;    ///< single precision as 3 channels
RowFunction rowFullLuma;      ///< luma of RGBA8
RowFunction rowVideoLuma;     ///< luma of BGRA8

/// Interleaves @p n samples of two planes.
void rowInterleave(uint8* out, const uint8* a, const uint8* b, size_t n);
/// Splits @p n pairs into two planes.
void rowSplit(uint8* a, uint8* b, const uint8* in, size_t n);

} // namespace qel::internal
