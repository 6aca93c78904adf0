#include "slice_loader.h"

#include <qel/foundation/base/types.h>

namespace qelviewer {

namespace {

/// The most voxels that are read at once: along rows of the volume, and across them, where each voxel is in
/// another part of the memory.
constexpr qel::int64 kMostAlongRows = 1 << 21;
constexpr qel::int64 kMostAcrossRows = 1 << 17;

} // namespace

bool SliceLoader::isQuick(const SliceFrame& frame) {
    const qel::int64 voxels = qel::int64{frame.counts().x} * frame.counts().y;
    return voxels <= (frame.axes().right.axis == 0 ? kMostAlongRows : kMostAcrossRows);
}

void SliceLoader::request(const SliceKey& key, const SliceFrame& frame) {
    if (key == m_wanted) return;
    m_wanted = key;
    m_frame = frame;
    if (!m_isReading) read();
}

void SliceLoader::read() {
    m_isReading = true;
    const auto voxels = std::make_shared<qel::Image>();
    m_queue.push([key = m_wanted, frame = m_frame,
                  voxels] { *voxels = sliceImage(*key.study->volume, frame, key.slice); },
                 [this, key = m_wanted, voxels] { finish(key, *voxels); });
}

/// Passes a slice on, even if another one is wanted now, so that a drag is followed.
void SliceLoader::finish(const SliceKey& key, qel::Image& voxels) {
    m_isReading = false;
    if (key.study == m_wanted.study) m_finished(key, std::move(voxels));
    if (m_wanted.study && !(key == m_wanted)) read();
}

} // namespace qelviewer
