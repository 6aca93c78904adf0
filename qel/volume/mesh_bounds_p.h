// The bounds of positions.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>

#include <algorithm>
#include <cfloat>

namespace qel::internal {

/// Computes the smallest and the largest coordinate on each axis; NaN does not count. Without positions, both
/// parameters are unchanged.
inline void calculateBounds(const Vector<IVec3<float>>& positions, IVec3<float>& lower, IVec3<float>& upper) {
    if (positions.empty()) return;
    lower = {FLT_MAX, FLT_MAX, FLT_MAX};
    upper = {-FLT_MAX, -FLT_MAX, -FLT_MAX};
    for (const IVec3<float>& position : positions) {
        for (int axis = 0; axis < 3; ++axis) {
            lower[axis] = std::min(lower[axis], position[axis]);
            upper[axis] = std::max(upper[axis], position[axis]);
        }
    }
}

} // namespace qel::internal
