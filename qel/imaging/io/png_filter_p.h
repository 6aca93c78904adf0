// The choice of the filter of each row of a PNG file.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/imaging/pixels/image.h>

#include <vector>

namespace qel::internal {

/// Sums of absolute differences of a row, one for each filter: none, left, above, mean, Paeth.
struct FilterSums {
    uint64 sums[5];
};

/// Sums the bytes that each filter leaves of a row of @p n bytes, read as signed.
/// @param above  the row above; zeros for the first.
FilterSums sumFilteredBytes(const uint8* row, const uint8* above, size_t n, size_t pixelBytes);

/// Returns the number of the filter with the smallest sum for each row; the first of equal ones.
std::vector<uint8> choosePngFilters(const Image& image);

} // namespace qel::internal
