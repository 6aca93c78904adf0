// Arithmetic with vectors.
#pragma once

#include <qel/foundation/base/ivec.h>

namespace qelviewer {

/// Returns the way from @p b to @p a.
template <typename T>
qel::IVec2<T> minus(const qel::IVec2<T>& a, const qel::IVec2<T>& b) {
    return {a.x - b.x, a.y - b.y};
}

/// Returns the way from @p b to @p a.
template <typename T>
qel::IVec3<T> minus(const qel::IVec3<T>& a, const qel::IVec3<T>& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

/// Returns the sum of both.
template <typename T>
qel::IVec3<T> plus(const qel::IVec3<T>& a, const qel::IVec3<T>& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

/// Returns @p v multiplied by a number.
template <typename T>
qel::IVec3<T> times(const qel::IVec3<T>& v, T factor) {
    return {v.x * factor, v.y * factor, v.z * factor};
}

/// Returns the scalar product.
template <typename T>
T dot(const qel::IVec3<T>& a, const qel::IVec3<T>& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

} // namespace qelviewer
