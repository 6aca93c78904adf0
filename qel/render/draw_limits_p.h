// Thresholds that all drawing operations share.
#pragma once

namespace qel::internal {

/// A colour with this alpha or less, half a step of 8 bits, is invisible.
inline constexpr float kInvisibleAlpha = 0.0019607844f;
/// A colour with more than this alpha is solid.
inline constexpr float kSolidAlpha = 0.9980392f;

} // namespace qel::internal
