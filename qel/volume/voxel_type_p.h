// The conversion of voxels of any type to 16 bits.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/types.h>
#include <qel/imaging/pixels/image_format.h>

#include <algorithm>
#include <limits>

namespace qel::internal {

/// The smallest and the largest finite value; empty initially.
struct VoxelRange {
    double minimum = std::numeric_limits<double>::infinity();
    double maximum = -std::numeric_limits<double>::infinity();

    void include(const VoxelRange& other) {
        minimum = std::min(minimum, other.minimum);
        maximum = std::max(maximum, other.maximum);
    }
    /// Includes a value unless it is NaN.
    void include(double value) {
        minimum = std::min(minimum, value);
        maximum = std::max(maximum, value);
    }
};

/// How values of a range become 16-bit numbers. A range up to 65535 keeps steps of 1.
struct VoxelScale {
    explicit VoxelScale(const VoxelRange& range);
    /// Returns scale and bias from 16-bit numbers to values, limited to the range of float.
    IVec2<float> toFloat() const;

    double minimum = 0;
    double scale = 1;
    bool isHuge = false; ///< differences of values overflow: values are scaled before they are subtracted
};

/// The functions for voxels of one format, which need not be aligned.
struct VoxelType {
    size_t bytes;
    /// Returns the range of @p count voxels.
    VoxelRange (*range)(const uint8* voxels, size_t count);
    /// Converts voxels with a scale made for voxels of this type; @p out may be @p voxels if they have two
    /// bytes. NaN and values below the range become 0.
    void (*convert)(uint16* out, const uint8* voxels, size_t count, const VoxelScale& scale);
};

/// Returns the functions for a format; null for formats that have not one channel of numbers.
const VoxelType* findVoxelType(FormatID format);

} // namespace qel::internal
