// Component types of resized pixels: reading, writing and rounding.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/imaging/pixels/image_format.h>
#include <qel/imaging/pixels/plain_pixels_p.h>

#include <limits>
#include <type_traits>

namespace qel::internal {

__extension__ using Wide = __int128; ///< holds sums of 64-bit components

/// The type in which a component is interpolated.
template <typename T>
using Interpolated = std::conditional_t<sizeof(T) <= 2 || std::is_same_v<T, float>, float, double>;

/// The type in which weighted components are summed: exact for integers, as a plane has at most 2^32 bytes.
template <typename T>
using Summed =
    std::conditional_t<std::is_floating_point_v<T>, double, std::conditional_t<sizeof(T) <= 2, int64, Wide>>;

/// Rounds halves away from zero and saturates; floating-point components stay as they are.
template <typename T, typename F>
T rounded(F value) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(value);
    } else {
        // The limits may round up to a power of two, which does not fit any more.
        if (!(value < static_cast<F>(std::numeric_limits<T>::max()))) return std::numeric_limits<T>::max();
        if (!(value > static_cast<F>(std::numeric_limits<T>::min()))) return std::numeric_limits<T>::min();
        const T whole = static_cast<T>(value);
        const F rest = value - static_cast<F>(whole);
        if (rest >= F(0.5)) return static_cast<T>(whole + 1);
        return rest <= F(-0.5) ? static_cast<T>(whole - 1) : whole;
    }
}

/// Divides sums of weighted components by the sum of the weights.
template <typename T>
class MeanOf {
public:
    /// @param weight  the sum of all weights, above 0.
    explicit MeanOf(Summed<T> weight) : m_weight(weight), m_inverse(0.5 / static_cast<double>(weight)) {}

    /// Returns the quotient; integers round halves away from zero.
    T operator()(Summed<T> sum) const {
        if constexpr (std::is_floating_point_v<T>) {
            return static_cast<T>(sum / m_weight);
        } else {
            return static_cast<T>(sum < 0 ? -quotient(m_weight - 2 * sum) : quotient(m_weight + 2 * sum));
        }
    }

private:
    /// Divides by twice the weight. A multiplication is several times as fast; it can be wrong by one.
    Summed<T> quotient(Summed<T> n) const {
        const Summed<T> divisor = 2 * m_weight;
        if constexpr (sizeof(T) > 2) return n / divisor;
        auto q = static_cast<Summed<T>>(static_cast<double>(n) * m_inverse);
        q -= q * divisor > n ? 1 : 0;
        return q + ((q + 1) * divisor <= n ? 1 : 0);
    }

    Summed<T> m_weight;
    double m_inverse;
};

/// Calls `run.template operator()<T>()` with the component type of a numeric format of one channel.
template <typename Run>
void withComponent(FormatID component, const Run& run) {
    switch (component) {
    case Int8:
        return run.template operator()<int8>();
    case UInt8:
        return run.template operator()<uint8>();
    case Int16:
        return run.template operator()<int16>();
    case UInt16:
        return run.template operator()<uint16>();
    case Int32:
        return run.template operator()<int32>();
    case UInt32:
        return run.template operator()<uint32>();
    case Int64:
        return run.template operator()<int64>();
    case UInt64:
        return run.template operator()<uint64>();
    case Flt32:
        return run.template operator()<float>();
    case Flt64:
        return run.template operator()<double>();
    default:
        return;
    }
}

} // namespace qel::internal
