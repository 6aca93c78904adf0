#include <qel/software3d/ray_caster_p.h>

#include <qel/software3d/seams.h>

#include <algorithm>
#include <atomic>
#include <cstddef>

namespace qel {
namespace {

std::atomic<bool> g_usesVectors{true};

/// Returns true if numbers of 32 bits count the voxels, and their parts on each side.
bool isCountable(const IVec3<int>& size) {
    if (std::max({size.x, size.y, size.z}) > 65535) return false;
    const uint64 slice = static_cast<uint64>(size.x) * static_cast<uint64>(size.y);
    return slice <= (uint64{1} << 32) / static_cast<uint64>(size.z);
}

} // namespace

void seams::setVectorRays(bool isOn) {
    g_usesVectors = isOn;
}

namespace internal {

PixelGrid PixelGrid::part(int column, int row, int width, int height) const {
    PixelGrid result = *this;
    result.x += column * step;
    result.y += row * step;
    result.columns = std::min(columns - column, width);
    result.rows = std::min(rows - row, height);
    result.depths += std::ptrdiff_t{row} * step * depthPitch + std::ptrdiff_t{column} * step;
    return result;
}

RayCaster::RayCaster(const VolumeDraw& draw)
    : m_draw(draw),
      m_hasColors(!draw.isClassified || draw.colors->isValid(draw.usesMeans)),
      m_usesVectors(g_usesVectors && isCountable(draw.size)) {}

void RayCaster::cast(const PixelGrid& pixels, Rgba* colors, std::ptrdiff_t pitch) const {
    if (!m_hasColors) {
        for (int row = 0; row < pixels.rows; ++row) std::fill_n(colors + row * pitch, pixels.columns, Rgba());
        return;
    }
    const auto castLanes = m_usesVectors ? castVectorRays : castPlainRays;
    const int width = pixels.lanesPerRow(), height = PixelGrid::kMostPixels / width;
    for (int row = 0; row < pixels.rows; row += height)
        for (int column = 0; column < pixels.columns; column += width)
            castLanes(m_draw, pixels.part(column, row, width, height), colors + row * pitch + column, pitch);
}

} // namespace internal
} // namespace qel
