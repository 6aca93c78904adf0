#include <qel/software3d/ray_caster_p.h>

#include <qel/software3d/seams.h>

#include <algorithm>
#include <atomic>
#include <cstddef>

namespace qel {
namespace {

std::atomic<bool> g_usesVectors{true};

/// Returns true if numbers of 32 bits count the voxels.
bool isCountable(const IVec3<int>& size) {
    const uint64 slice = static_cast<uint64>(size.x) * static_cast<uint64>(size.y);
    return slice <= (uint64{1} << 32) / static_cast<uint64>(size.z);
}

} // namespace

void seams::setVectorRays(bool isOn) {
    g_usesVectors = isOn;
}

namespace internal {

RayCaster::RayCaster(const VolumeDraw& draw)
    : m_draw(draw),
      m_hasColors(!draw.isClassified || draw.colors->isValid(draw.usesMeans)),
      m_usesVectors(g_usesVectors && isCountable(draw.size)) {}

void RayCaster::castRow(int y, int x, int pixelStep, int count, const float* depths, Rgba* colors) const {
    if (!m_hasColors) {
        std::fill_n(colors, count, Rgba());
        return;
    }
    const auto cast = m_usesVectors ? castVectorRays : castPlainRays;
    for (int i = 0; i < count; i += PixelRun::kMostPixels)
        cast(m_draw,
             {y, x + i * pixelStep, pixelStep, std::min(count - i, PixelRun::kMostPixels),
              depths + std::ptrdiff_t{i} * pixelStep},
             colors + i);
}

} // namespace internal
} // namespace qel
