#include "slice_frame.h"

#include <hosts/qelviewer/volume/parallel_range.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qelviewer {

namespace {

constexpr int kRowsOfTask = 32;
/// The most voxels that are read at once: along rows of the volume, and across them, where each voxel is in
/// another part of the memory.
constexpr qel::int64 kMostAlongRows = 1 << 18;
constexpr qel::int64 kMostAcrossRows = 1 << 16;

double indexAt(const PaneAxis& axis, int count, double place) {
    const double step = place * count - 0.5;
    return axis.isReversed ? count - 1 - step : step;
}

double placeAt(const PaneAxis& axis, int count, double index) {
    const double step = axis.isReversed ? count - 1 - index : index;
    return (step + 0.5) / count;
}

} // namespace

SliceFrame::SliceFrame(const Study& study, Plane plane)
    : m_axes(planeFrame(study.header.orientation, plane)) {
    const qel::IVec3<int>& size = study.size();
    m_counts = {size[m_axes.right.axis], size[m_axes.down.axis], size[m_axes.inward.axis]};
}

qel::IVec2<double> SliceFrame::sizeMm() const {
    return {m_counts.x * m_axes.right.spacing, m_counts.y * m_axes.down.spacing};
}

int SliceFrame::sliceOf(const qel::IVec3<double>& voxel) const {
    const int index = static_cast<int>(std::lround(voxel[m_axes.inward.axis]));
    return m_axes.inward.indexAt(std::clamp(index, 0, std::max(0, m_counts.z - 1)), m_counts.z);
}

qel::IVec3<double> SliceFrame::voxelAt(const qel::IVec2<double>& place, int slice) const {
    qel::IVec3<double> voxel;
    voxel[m_axes.right.axis] = indexAt(m_axes.right, m_counts.x, place.x);
    voxel[m_axes.down.axis] = indexAt(m_axes.down, m_counts.y, place.y);
    voxel[m_axes.inward.axis] = m_axes.inward.indexAt(slice, m_counts.z);
    return voxel;
}

qel::IVec2<double> SliceFrame::placeOf(const qel::IVec3<double>& voxel) const {
    return {placeAt(m_axes.right, m_counts.x, voxel[m_axes.right.axis]),
            placeAt(m_axes.down, m_counts.y, voxel[m_axes.down.axis])};
}

qel::IVec3<double> SliceFrame::moved(qel::IVec3<double> voxel, int slices) const {
    if (m_counts.z < 1) return voxel;
    const int last = m_counts.z - 1;
    const auto slice = std::clamp<long long>(static_cast<long long>(sliceOf(voxel)) + slices, 0, last);
    voxel[m_axes.inward.axis] = m_axes.inward.indexAt(static_cast<int>(slice), m_counts.z);
    return voxel;
}

bool isQuick(const SliceFrame& frame) {
    const qel::int64 voxels = qel::int64{frame.counts().x} * frame.counts().y;
    return voxels <= (frame.axes().right.axis == 0 ? kMostAlongRows : kMostAcrossRows);
}

qel::Image sliceImage(const qel::SoftwareVolumeTexture& volume, const SliceFrame& frame, int slice) {
    const qel::IVec3<int>& counts = frame.counts();
    const PlaneFrame& axes = frame.axes();
    qel::Image image(qel::UInt16, {counts.x, counts.y});
    if (!volume.getVoxels() || counts.x < 1 || counts.y < 1 || counts.z < 1) return image;
    const qel::IVec3<int>& size = volume.getSize();
    const std::ptrdiff_t strides[3] = {1, size.x, std::ptrdiff_t{size.x} * size.y};
    const auto offset = [&strides](const PaneAxis& axis, int step, int count) {
        return axis.indexAt(step, count) * strides[axis.axis];
    };
    const qel::uint16* const first =
        volume.getVoxels() + offset(axes.inward, std::clamp(slice, 0, counts.z - 1), counts.z);
    const std::ptrdiff_t right = axes.right.isReversed ? -strides[axes.right.axis] : strides[axes.right.axis];
    const auto fillRows = [&](int begin, int end) {
        for (int y = begin; y < end; ++y) {
            const qel::uint16* source =
                first + offset(axes.down, y, counts.y) + offset(axes.right, 0, counts.x);
            auto* const row = reinterpret_cast<qel::uint16*>(image.getBytePointer(y));
            row[0] = *source;
            for (int x = 1; x < counts.x; ++x) row[x] = *(source += right);
        }
    };
    if (isQuick(frame)) { // without waiting for workers, which may be busy
        fillRows(0, counts.y);
    } else {
        forEachPiece(static_cast<qel::uint64>(counts.y), kRowsOfTask,
                     [&](qel::uint64 begin, qel::uint64 end) {
                         fillRows(static_cast<int>(begin), static_cast<int>(end));
                     });
    }
    return image;
}

} // namespace qelviewer
