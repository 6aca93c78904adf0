// Rect: a rectangle with float edges.
#pragma once

#include <qel/foundation/base/ivec.h>

namespace qel {

/// A rectangle from (x0, y0), included, to (x1, y1). It is empty when x1 isn't above x0 or y1 isn't above y0;
/// a rectangle with an edge that is NaN is empty, too. A default-constructed one is empty, all zero.
struct Rect {
    /// Left edge.
    float x0 = 0;
    /// Top edge.
    float y0 = 0;
    /// Right edge.
    float x1 = 0;
    /// Bottom edge.
    float y1 = 0;

    /// Creates an empty rectangle, all zero.
    constexpr Rect() = default;
    /// Sets the edges: left, top, right, bottom.
    constexpr Rect(float left, float top, float right, float bottom)
        : x0(left), y0(top), x1(right), y1(bottom) {}
    /// Sets two opposite corners.
    constexpr Rect(const IVec2<float>& leftTop_, const IVec2<float>& rightBottom_)
        : x0(leftTop_.x), y0(leftTop_.y), x1(rightBottom_.x), y1(rightBottom_.y) {}

    /// Returns whether the rectangle contains no point.
    constexpr bool isEmpty() const { return !(x1 > x0 && y1 > y0); }
    /// Returns x1 - x0, which is negative for swapped edges.
    constexpr float getWidth() const { return x1 - x0; }
    /// Returns y1 - y0, which is negative for swapped edges.
    constexpr float getHeight() const { return y1 - y0; }
    /// Returns the corner (x0, y0).
    constexpr IVec2<float> leftTop() const { return {x0, y0}; }
    /// Returns the corner (x1, y1).
    constexpr IVec2<float> rightBottom() const { return {x1, y1}; }

    /// Rounds each edge to the nearest integer, halves away from zero. Values beyond 2^30 in either direction
    /// become 2^30 or -2^30; NaN becomes 0.
    constexpr IVec4<int> roundNearestAsInt() const {
        return {roundNearest(x0), roundNearest(y0), roundNearest(x1), roundNearest(y1)};
    }

    /// Compares all edges.
    friend constexpr bool operator==(const Rect&, const Rect&) = default;

private:
    static constexpr int roundNearest(float value) {
        constexpr float kLimit = 1 << 30;
        if (!(value > -kLimit)) return value <= -kLimit ? -(1 << 30) : 0;
        if (value > kLimit) return 1 << 30;
        const int whole = static_cast<int>(value);
        const float fraction = value - static_cast<float>(whole);
        return whole + (fraction >= 0.5f ? 1 : 0) - (fraction <= -0.5f ? 1 : 0);
    }
};

} // namespace qel
