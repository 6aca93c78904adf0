// Plain vectors of two to four components.
#pragma once

namespace qel {

/// Two values: a position, or width and height. All zero by default.
template <typename T>
struct IVec2 {
    /// First component; also width or R.
    T x{};
    /// Second component; also height or G.
    T y{};

    /// Sets all components to zero.
    constexpr IVec2() = default;
    /// Sets the components to the given values.
    constexpr IVec2(T x_, T y_) : x(x_), y(y_) {}
    /// Converts each component as static_cast does.
    template <typename U>
    constexpr explicit IVec2(const IVec2<U>& o) : x(static_cast<T>(o.x)), y(static_cast<T>(o.y)) {}

    /// Returns component @p i, from 0; any other index means the last one.
    constexpr T& operator[](int i) { return i == 0 ? x : y; }
    /// Returns component @p i, from 0; any other index means the last one.
    constexpr const T& operator[](int i) const { return i == 0 ? x : y; }

    /// Compares all components.
    friend constexpr bool operator==(const IVec2&, const IVec2&) = default;
};

/// Three values: a position, a size, or R, G and B. All zero by default.
template <typename T>
struct IVec3 {
    /// First component; also R.
    T x{};
    /// Second component; also G.
    T y{};
    /// Third component; also B.
    T z{};

    /// Sets all components to zero.
    constexpr IVec3() = default;
    /// Sets the components to the given values.
    constexpr IVec3(T x_, T y_, T z_) : x(x_), y(y_), z(z_) {}
    /// Converts each component as static_cast does.
    template <typename U>
    constexpr explicit IVec3(const IVec3<U>& o)
        : x(static_cast<T>(o.x)), y(static_cast<T>(o.y)), z(static_cast<T>(o.z)) {}

    /// Returns component @p i, from 0; any other index means the last one.
    constexpr T& operator[](int i) { return i == 0 ? x : i == 1 ? y : z; }
    /// Returns component @p i, from 0; any other index means the last one.
    constexpr const T& operator[](int i) const { return i == 0 ? x : i == 1 ? y : z; }

    /// Compares all components.
    friend constexpr bool operator==(const IVec3&, const IVec3&) = default;
};

/// Four values: left, top, right and bottom, or R, G, B and A. All zero by default.
/// IVec4<float> is the colour type, components 0 to 1. IVec4<int> is the clip and bounds rectangle, exclusive
/// on the right and at the bottom.
template <typename T>
struct IVec4 {
    /// First component; also left or R.
    T x{};
    /// Second component; also top or G.
    T y{};
    /// Third component; also right or B.
    T z{};
    /// Fourth component; also bottom or A.
    T w{};

    /// Sets all components to zero.
    constexpr IVec4() = default;
    /// Sets the components to the given values.
    constexpr IVec4(T x_, T y_, T z_, T w_) : x(x_), y(y_), z(z_), w(w_) {}
    /// Converts each component as static_cast does.
    template <typename U>
    constexpr explicit IVec4(const IVec4<U>& o)
        : x(static_cast<T>(o.x)), y(static_cast<T>(o.y)), z(static_cast<T>(o.z)), w(static_cast<T>(o.w)) {}

    /// Returns component @p i, from 0; any other index means the last one.
    constexpr T& operator[](int i) { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }
    /// Returns component @p i, from 0; any other index means the last one.
    constexpr const T& operator[](int i) const { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }

    /// Compares all components.
    friend constexpr bool operator==(const IVec4&, const IVec4&) = default;
};

} // namespace qel
