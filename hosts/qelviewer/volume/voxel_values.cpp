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

template <typename Voxel>
Words convert(const Voxel* voxels, qel::uint64 count) {
    const Range range = measure(voxels, count);
    Words result;
    if (range.smallest <= range.largest) {
        result.bias = range.smallest;
        result.scale = stepOf(range);
    }
    result.words.resize(count * sizeof(qel::uint16));
    auto* const words = reinterpret_cast<qel::uint16*>(result.words.getBytePointer());
    const double bias = result.bias, scale = result.scale;
    forEachPiece(count, kPiece, [&](qel::uint64 begin, qel::uint64 end) {
        for (qel::uint64 i = begin; i < end; ++i) {
            // Halves, because a difference may overflow.
            const double steps = (static_cast<double>(voxels[i]) * 0.5 - bias * 0.5) / scale * 2 + 0.5;
            words[i] = steps >= 1 ? static_cast<qel::uint16>(std::min(steps, kSteps)) : qel::uint16{0};
        }
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
