// Row operations of resizing, by the vectors of the machine.
#pragma once

#include <qel/foundation/base/types.h>

namespace qel::internal {

/// Writes a[i] + (b[i] - a[i]) * @p fraction, rounded; all values are 0 to 255.
void rowMixBytes(uint8* out, const float* a, const float* b, float fraction, size_t n);
/// Adds @p weight times a byte to each sum.
void rowAddWeighted(uint32* sums, const uint8* in, uint32 weight, size_t n);

} // namespace qel::internal
