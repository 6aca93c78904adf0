// Rows of preintegrated lookup tables, by the vectors of the machine.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/types.h>

#include <cmath>

namespace qel::internal {

/// Returns @p value times 255, rounded with halves away from zero, as the low byte of that number. NaN is 0.
inline uint8 toTableByte(float value) {
    const float scaled = value * 255.0f;
    // The low byte of larger floats is 0: they are multiples of 256.
    return std::abs(scaled) < 2147483648.0f ? static_cast<uint8>(std::lround(scaled)) : uint8{0};
}

/// Writes the RGBA pixels of row @p row, columns @p begin to @p end, all of them after the diagonal:
/// `(sums[column] - sums[row]) / (column - row)`, as toTableByte() converts it.
/// @param sums  the running sums of all steps.
/// @param out   the first of these pixels.
void writePreintegratedRow(uint8* out, const IVec4<float>* sums, size_t row, size_t begin, size_t end);

} // namespace qel::internal
