#include <hosts/qelviewer/volume/voxel_values.h>

#include <hosts/qelviewer/volume/parallel_range.h>

#include <qel/foundation/base/mutex.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace qelviewer {
namespace {

/// Voxels that one thread processes at a time.
constexpr qel::uint64 kPiece = 1 << 20;
constexpr double kSteps = 65535;

/// What is known about the finite values of some voxels.
struct Range {
    double smallest = std::numeric_limits<double>::infinity();
    double largest = -std::numeric_limits<double>::infinity();
    bool isWhole = true; ///< no value is a fraction

    void include(double value) {
        if (!std::isfinite(value)) return;
        smallest = std::min(smallest, value);
        largest = std::max(largest, value);
        isWhole = isWhole && value == std::floor(value);
    }
    void include(const Range& other) {
        smallest = std::min(smallest, other.smallest);
        largest = std::max(largest, other.largest);
        isWhole = isWhole && other.isWhole;
    }
};

template <typename Voxel>
Range measure(const Voxel* voxels, qel::uint64 count) {
    Range range;
    qel::Mutex mutex;
    forEachPiece(count, kPiece, [&](qel::uint64 begin, qel::uint64 end) {
        Range piece;
        for (qel::uint64 i = begin; i < end; ++i) piece.include(static_cast<double>(voxels[i]));
        const qel::MutexLock lock(mutex);
        range.include(piece);
    });
    return range;
}

/// Returns the size of a step, which is a normal number, for a range.
double stepOf(const Range& range) {
    const double width = range.largest - range.smallest;
    if (!(width > 0) || (range.isWhole && width <= kSteps)) return 1;
    const double step = range.largest / kSteps - range.smallest / kSteps; // the width may overflow
    return std::max(step, std::numeric_limits<double>::min());
}

/// Maps values to words: the smallest to 0, the largest to at most 65535.
class Mapping {
public:
    explicit Mapping(const Range& range) {
        if (!(range.smallest <= range.largest)) return;
        m_bias = range.smallest;
        m_scale = stepOf(range);
        m_largest = std::min(std::floor(roundedUp(range.largest)), kSteps);
    }

    double bias() const { return m_bias; }
    double scale() const { return m_scale; }
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

template <typename Voxel>
Words convert(const Voxel* voxels, qel::uint64 count) {
    const Mapping mapping(measure(voxels, count));
    Words result;
    result.bias = mapping.bias();
    result.scale = mapping.scale();
    result.words.resize(count * sizeof(qel::uint16));
    auto* const words = reinterpret_cast<qel::uint16*>(result.words.getBytePointer());
    forEachPiece(count, kPiece, [&](qel::uint64 begin, qel::uint64 end) {
        for (qel::uint64 i = begin; i < end; ++i) words[i] = mapping.wordOf(static_cast<double>(voxels[i]));
    });
    return result;
}

template <size_t kBytes>
void swapVoxels(qel::uint8* bytes, qel::uint64 count) {
    forEachPiece(count, kPiece, [&](qel::uint64 begin, qel::uint64 end) {
        for (qel::uint64 i = begin; i < end; ++i) std::reverse(bytes + i * kBytes, bytes + (i + 1) * kBytes);
    });
}

} // namespace

void swapBytes(qel::Buffer& voxels, size_t bytesPerVoxel) {
    const qel::uint64 count = voxels.getSize() / bytesPerVoxel;
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

Words toWords(const qel::Buffer& voxels, const VoxelFormat& format) {
    const qel::uint8* const bytes = voxels.getBytePointer();
    const qel::uint64 count = voxels.getSize() / format.bytes;
    if (format.bytes == sizeof(float)) return convert(reinterpret_cast<const float*>(bytes), count);
    return convert(reinterpret_cast<const double*>(bytes), count);
}

} // namespace qelviewer
