// Conversions of voxels.
#pragma once

#include <qel/foundation/base/types.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace qelviewer {

/// Exchanges the bytes of @p count voxels of @p bytesPerVoxel.
void swapBytes(qel::uint8* voxels, qel::uint64 count, size_t bytesPerVoxel);

/// What is known about the finite values of some voxels; empty at first.
struct ValueRange {
    double smallest = std::numeric_limits<double>::infinity();
    double largest = -std::numeric_limits<double>::infinity();
    bool isWhole = true; ///< no value is a fraction

    /// Includes the values of @p count voxels of type float or double.
    template <typename Voxel>
    void include(const Voxel* voxels, qel::uint64 count) {
        for (qel::uint64 i = 0; i < count; ++i) {
            const auto value = static_cast<double>(voxels[i]);
            if (!std::isfinite(value)) continue;
            smallest = std::min(smallest, value);
            largest = std::max(largest, value);
            isWhole = isWhole && value == std::floor(value);
        }
    }
    /// Includes another range.
    void include(const ValueRange& other);
};

/// Maps floating-point values to numbers of 16 bits, `word * scale + bias` being the value: in steps of 1 if
/// all are whole numbers in a range of up to 65535, and otherwise in 65535 steps from the smallest to the
/// largest value. NaN becomes the smallest value, infinite values the smallest or the largest.
class WordMapping {
public:
    /// Maps all values to 0 if @p range is empty.
    explicit WordMapping(const ValueRange& range);

    /// Returns the value of word 0.
    double bias() const { return m_bias; }
    /// Returns the difference between two words.
    double scale() const { return m_scale; }
    /// Returns the word of a value.
    qel::uint16 wordOf(double value) const {
        const double steps = roundedUp(value);
        return steps >= 1 ? static_cast<qel::uint16>(std::min(steps, m_largest)) : qel::uint16{0}; // also NaN
    }

private:
    /// Returns the number of steps plus a half; it computes with halves, because a difference may overflow.
    double roundedUp(double value) const { return (value * 0.5 - m_bias * 0.5) / m_scale * 2 + 0.5; }

    double m_bias = 0;
    double m_scale = 1;
    double m_largest = 0;
};

} // namespace qelviewer
