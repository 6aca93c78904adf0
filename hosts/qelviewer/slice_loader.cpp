#include "slice_loader.h"

namespace qelviewer {

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
