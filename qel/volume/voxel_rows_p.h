// Rows of voxels with 8 or 16 bits, by the vectors of the machine.
#pragma once

#include <qel/foundation/base/types.h>

namespace qel::internal {

/// The smallest and the largest value of a row.
template <typename T>
struct RowRange {
    T minimum;
    T maximum;
};

/// Returns the range of @p count values; @p count must not be 0. @p values need not be aligned.
RowRange<int8> rangeOfRow(const int8* values, size_t count);
RowRange<uint8> rangeOfRow(const uint8* values, size_t count);   ///< @copydoc rangeOfRow
RowRange<int16> rangeOfRow(const int16* values, size_t count);   ///< @copydoc rangeOfRow
RowRange<uint16> rangeOfRow(const uint16* values, size_t count); ///< @copydoc rangeOfRow

/// Writes each value less @p minimum, and 0 for values below it; @p out may be @p values.
void subtractFromRow(uint16* out, const int8* values, size_t count, int8 minimum);
/// @copydoc subtractFromRow
void subtractFromRow(uint16* out, const uint8* values, size_t count, uint8 minimum);
/// @copydoc subtractFromRow
void subtractFromRow(uint16* out, const int16* values, size_t count, int16 minimum);
/// @copydoc subtractFromRow
void subtractFromRow(uint16* out, const uint16* values, size_t count, uint16 minimum);

} // namespace qel::internal
