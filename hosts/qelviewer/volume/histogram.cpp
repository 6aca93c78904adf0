#include <hosts/qelviewer/volume/histogram.h>

#include <hosts/qelviewer/volume/parallel_range.h>

#include <qel/foundation/base/mutex.h>
#include <qel/software3d/software_volume_texture.h>

#include <algorithm>
#include <limits>

namespace qelviewer {
namespace {

constexpr size_t kWords = 65536;
/// Voxels that one thread counts at a time.
constexpr qel::uint64 kPiece = 4 << 20;

using Counts = qel::Vector<qel::uint64>;

/// Counts each stored number. @return nothing if cancelled.
Counts countWords(const qel::uint16* voxels, qel::uint64 count, LoadProgress& progress) {
    Counts total(kWords);
    qel::Mutex mutex;
    std::atomic<qel::uint64> done{0};
    forEachPiece(count, kPiece, [&](qel::uint64 begin, qel::uint64 end) {
        if (progress.isCancelled) return;
        Counts counts(kWords);
        for (qel::uint64 i = begin; i < end; ++i) ++counts[voxels[i]];
        const qel::MutexLock lock(mutex);
        for (size_t i = 0; i < kWords; ++i) total[i] += counts[i];
        advanceTo(progress, static_cast<float>(done += end - begin) / static_cast<float>(count));
    });
    if (progress.isCancelled) total.clear();
    return total;
}

qel::uint64 countVoxels(const qel::IVec3<int>& size) {
    return static_cast<qel::uint64>(size.x) * static_cast<qel::uint64>(size.y) *
           static_cast<qel::uint64>(size.z);
}

double valueOf(size_t stored, const qel::IVec2<float>& scaleBias) {
    return static_cast<double>(stored) * scaleBias.x + scaleBias.y;
}

} // namespace

Histogram countValues(const qel::SoftwareVolumeTexture& volume, const qel::IVec2<float>& scaleBias, int bins,
                      LoadProgress& progress) {
    Histogram histogram;
    if (volume.getVoxels() == nullptr || bins < 1) return histogram;
    const Counts words = countWords(volume.getVoxels(), countVoxels(volume.getSize()), progress);
    const auto isUsed = [](qel::uint64 count) { return count != 0; };
    const auto first = std::find_if(words.begin(), words.end(), isUsed);
    if (first == words.end()) return histogram;
    const auto end = std::find_if(words.rbegin(), words.rend(), isUsed).base();
    const auto lowest = static_cast<size_t>(first - words.begin());
    const auto range = static_cast<size_t>(end - first) - 1;
    const auto count = static_cast<size_t>(bins);
    const bool isReversed = scaleBias.x < 0;
    histogram.counts.resize(count);
    for (size_t i = 0; i <= range; ++i) {
        const size_t bin = range == 0 ? 0 : std::min(i * count / range, count - 1);
        histogram.counts[bin] += words[lowest + (isReversed ? range - i : i)];
    }
    histogram.smallest = valueOf(isReversed ? lowest + range : lowest, scaleBias);
    histogram.largest = valueOf(isReversed ? lowest : lowest + range, scaleBias);
    return histogram;
}

double valueAt(const qel::SoftwareVolumeTexture& volume, const qel::IVec2<float>& scaleBias,
               const qel::IVec3<int>& voxel) {
    const qel::IVec3<int> size = volume.getSize();
    for (int axis = 0; axis < 3; ++axis)
        if (voxel[axis] < 0 || voxel[axis] >= size[axis]) return std::numeric_limits<double>::quiet_NaN();
    if (volume.getVoxels() == nullptr) return std::numeric_limits<double>::quiet_NaN();
    const auto width = static_cast<size_t>(size.x), height = static_cast<size_t>(size.y);
    const size_t row = static_cast<size_t>(voxel.z) * height + static_cast<size_t>(voxel.y);
    return valueOf(volume.getVoxels()[row * width + static_cast<size_t>(voxel.x)], scaleBias);
}

} // namespace qelviewer
