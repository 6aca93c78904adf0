// Row operations of resizing, by the vectors of the machine.
#pragma once

#include <qel/foundation/base/types.h>

#include <vector>

namespace qel::internal {

/// Writes a[i] + (b[i] - a[i]) * @p fraction, rounded; all values are 0 to 255.
void rowMixBytes(uint8* out, const float* a, const float* b, float fraction, size_t n);

/// Writes the weighted sums of the bytes of @p count rows. @param weights  0 to 32767; no sum exceeds 31
/// bits.
void rowWeightedSums(int32* sums, const uint8* const* rows, const uint16* weights, size_t count, size_t n);

/// The columns of a source that each pixel of a target row covers, and how much each of them weighs.
struct ColumnWeights {
    size_t covered = 0;          ///< columns for each target pixel; those that it does not cover weigh 0
    std::vector<uint32> first;   ///< the first column of each target pixel
    std::vector<double> weights; ///< `covered` for each target pixel
};

/// Writes the weighted means of the columns' sums, halves rounded up.
/// @param sums    of pixels of @p channels, 1 to 4; one more than the pixels have can be read.
/// @param weight  the sum of the weights of all pixels that a target pixel covers.
void rowMeans(uint8* out, const int32* sums, const ColumnWeights& columns, size_t channels, double weight);

/// What the kernel of rowMeans() reads; see there.
struct MeanJob {
    const int32* sums;
    const uint32* first;
    const double* weights;
    size_t covered;
    double rounding, inverse;
};

/// Writes the means of blocks of two by two pixels of @p channels bytes, halves rounded up.
/// @param n  pixels of the target row.
void rowHalf(uint8* out, const uint8* a, const uint8* b, size_t channels, size_t n);

/// Interpolates two rows of @p n pixels to rows of 2 * @p n pixels that are a quarter and three quarters of
/// the way from the first to the second. Within a row, pixels are a quarter of the distance between pixels
/// left and right of each pixel of the source.
void rowsTwice(uint8* upper, uint8* lower, const uint8* a, const uint8* b, size_t channels, size_t n);

} // namespace qel::internal
