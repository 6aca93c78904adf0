// Curve: a function given by its values at some places.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>

#include <iterator>

namespace qel {

/// A map from places to values, with straight lines between them. Arithmetic is in float, in the order
/// written.
/// @tparam T  float or IVec3<float>.
template <typename T>
class Curve : public Map<float, T> {
public:
    using Map<float, T>::Map;

    /// Returns the value at @p x: the first value up to the first key, the last one from the last key on. A
    /// NaN counts as a place before all keys. Returns zero if the curve is empty.
    T evaluate(float x) const {
        if (this->empty()) return {};
        const auto last = std::prev(this->end());
        if (!(x > this->begin()->first)) return this->begin()->second;
        if (x >= last->first) return last->second;
        const auto above = this->upper_bound(x);
        if (above == this->end()) return last->second; // only if a key is NaN
        if (above == this->begin()) return above->second;
        const auto below = std::prev(above);
        return mix(below->second, above->second, (x - below->first) / (above->first - below->first));
    }

private:
    static float mix(float a, float b, float t) { return (1.0f - t) * a + t * b; }
    static IVec3<float> mix(const IVec3<float>& a, const IVec3<float>& b, float t) {
        return {mix(a.x, b.x, t), mix(a.y, b.y, t), mix(a.z, b.z, t)};
    }
};

} // namespace qel
