#include <hosts/qelviewer/volume/voxel_values.h>

namespace qelviewer {
namespace {

constexpr double kSteps = 65535;

/// Returns the size of a step, which is a normal number, for a range.
double stepOf(const ValueRange& range) {
    const double width = range.largest - range.smallest;
    if (!(width > 0) || (range.isWhole && width <= kSteps)) return 1;
    const double step = range.largest / kSteps - range.smallest / kSteps; // the width may overflow
    return std::max(step, std::numeric_limits<double>::min());
}

template <size_t kBytes>
void swapVoxels(qel::uint8* bytes, qel::uint64 count) {
    for (qel::uint64 i = 0; i < count; ++i) std::reverse(bytes + i * kBytes, bytes + (i + 1) * kBytes);
}

} // namespace

void swapBytes(qel::uint8* voxels, qel::uint64 count, size_t bytesPerVoxel) {
    switch (bytesPerVoxel) {
    case 2:
        return swapVoxels<2>(voxels, count);
    case 4:
        return swapVoxels<4>(voxels, count);
    case 8:
        return swapVoxels<8>(voxels, count);
    default:
        return;
    }
}

void ValueRange::include(const ValueRange& other) {
    smallest = std::min(smallest, other.smallest);
    largest = std::max(largest, other.largest);
    isWhole = isWhole && other.isWhole;
}

WordMapping::WordMapping(const ValueRange& range) {
    if (!(range.smallest <= range.largest)) return;
    m_bias = range.smallest;
    m_scale = stepOf(range);
    m_largest = std::min(std::floor(roundedUp(range.largest)), kSteps);
}

} // namespace qelviewer
