#include <qel/software3d/volume_picture_p.h>

#include <qel/software3d/parallel_p.h>

#include <algorithm>
#include <numeric>
#include <utility>

namespace qel::internal {
namespace {

/// A position between two of several places that are equally far apart.
struct Between {
    int low;
    int high;
    float share; ///< of the high one

    Between(int offset, int step, int count) {
        const int inside = std::clamp(offset, 0, (count - 1) * step);
        low = inside / step;
        high = std::min(low + 1, count - 1);
        share = static_cast<float>(inside % step) / static_cast<float>(step);
    }
};

} // namespace

TileGrid::TileGrid(const IVec4<int>& pixels)
    : area(pixels),
      columns((pixels.z - pixels.x + kTile - 1) / kTile),
      rows((pixels.w - pixels.y + kTile - 1) / kTile) {}

IVec4<int> TileGrid::at(int tile) const {
    const int left = area.x + tile % columns * kTile, top = area.y + tile / columns * kTile;
    return {left, top, std::min(left + kTile, area.z), std::min(top + kTile, area.w)};
}

Vector<int> TileGrid::fromCentre() const {
    Vector<int> order(static_cast<size_t>(count()));
    std::iota(order.begin(), order.end(), 0);
    const auto distance = [this](int tile) {
        const int64 x = 2 * (tile % columns) - (columns - 1), y = 2 * (tile / columns) - (rows - 1);
        return x * x + y * y;
    };
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return distance(a) < distance(b); });
    return order;
}

SampledArea::SampledArea(const IVec4<int>& area, int step) : m_step(step) {
    const auto begin = [step](int size) { return std::min(step / 2, size - 1); };
    const IVec2<int> size(area.z - area.x, area.w - area.y), first(begin(size.x), begin(size.y));
    m_first = {area.x + first.x, area.y + first.y};
    m_count = {(size.x - first.x + step - 1) / step, (size.y - first.y + step - 1) / step};
    m_colors.resize(static_cast<size_t>(m_count.x) * static_cast<size_t>(m_count.y));
}

Rgba* SampledArea::rowAt(int row) {
    return m_colors.data() + static_cast<size_t>(row) * static_cast<size_t>(m_count.x);
}

const Rgba* SampledArea::rowAt(int row) const {
    return m_colors.data() + static_cast<size_t>(row) * static_cast<size_t>(m_count.x);
}

void SampledArea::interpolate(int x, int y, int count, Rgba* colors) const {
    const Between v(y - m_first.y, m_step, m_count.y);
    const Rgba* const low = rowAt(v.low);
    const Rgba* const high = rowAt(v.high);
    for (int i = 0; i < count; ++i) {
        const Between u(x + i - m_first.x, m_step, m_count.x);
        colors[i] =
            mix(mix(low[u.low], low[u.high], u.share), mix(high[u.low], high[u.high], u.share), v.share);
    }
}

void SampledArea::draw(Image& target, const IVec4<int>& part, const IVec4<float>& tint) const {
    for (int y = part.y; y < part.w; ++y) {
        for (int x = part.x; x < part.z; x += TileGrid::kTile) {
            const int count = std::min(TileGrid::kTile, part.z - x);
            uint8* const pixels = target.getBytePointer(y) + std::ptrdiff_t{x} * 4;
            if (m_step == 1) {
                blendRow(pixels, rowAt(y - m_first.y) + (x - m_first.x), count, tint);
                continue;
            }
            Rgba colors[TileGrid::kTile];
            interpolate(x, y, count, colors);
            blendRow(pixels, colors, count, tint);
        }
    }
}

void VolumePicture::start(const IVec4<int>& area, SampledArea&& coarse) {
    m_grid = TileGrid(area);
    m_coarse = std::move(coarse);
    m_tiles.clear();
    m_tiles.resize(static_cast<size_t>(m_grid.count()));
}

void VolumePicture::setTile(int tile, SampledArea&& content) {
    SampledArea& known = m_tiles[static_cast<size_t>(tile)];
    if (known.isEmpty() || content.getStep() < known.getStep()) known = std::move(content);
}

void VolumePicture::draw(Image& target, const IVec4<float>& tint) const {
    runPieces(static_cast<unsigned>(m_grid.count()), [&](unsigned tile) {
        const SampledArea& content = m_tiles[tile].isEmpty() ? m_coarse : m_tiles[tile];
        content.draw(target, m_grid.at(static_cast<int>(tile)), tint);
    });
}

void blendRow(uint8* pixels, const Rgba* colors, int count, const IVec4<float>& tint) {
    const float alpha = toUnit(tint.w);
    for (int i = 0; i < count; ++i) {
        const Rgba& color = colors[i];
        if (!(color.a > 0)) continue;
        blendPixel(pixels + std::ptrdiff_t{i} * 4, {color.r * tint.x * alpha, color.g * tint.y * alpha,
                                                    color.b * tint.z * alpha, color.a * alpha});
    }
}

} // namespace qel::internal
