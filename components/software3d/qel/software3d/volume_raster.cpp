#include <qel/software3d/volume_raster_p.h>

#include <qel/software3d/parallel_p.h>
#include <qel/software3d/ray_caster_p.h>
#include <qel/software3d/seams.h>
#include <qel/software3d/volume_picture_p.h>

#include <algorithm>
#include <atomic>

namespace qel {
namespace {

std::atomic<bool> g_skipsBricks{true};

} // namespace

void seams::setBrickSkipping(bool isOn) {
    g_skipsBricks = isOn;
}

namespace internal {

// The pixels around the corners of the box, if all of these are in front of the eye.
IVec4<int> coveredArea(const VolumeDraw& draw) {
    const Double4x4 toClip = draw.model.multiply(draw.view.view).multiply(draw.view.projection);
    const IVec4<int>& port = draw.view.viewport;
    const IVec4<int>& area = draw.view.clip;
    IVec4<double> bounds(1e300, 1e300, -1e300, -1e300);
    for (int i = 0; i < 8; ++i) {
        const IVec4<double> corner =
            toClip.transform(IVec4<double>(double(i & 1), double(i >> 1 & 1), double(i >> 2), 1));
        if (!(corner.w > 1e-12)) return area;
        const double x = port.x + (corner.x / corner.w + 1) / 2 * (port.z - port.x);
        const double y = port.y + (1 - corner.y / corner.w) / 2 * (port.w - port.y);
        bounds = {std::min(bounds.x, x), std::min(bounds.y, y), std::max(bounds.z, x), std::max(bounds.w, y)};
    }
    const auto pixel = [](double v) { return static_cast<int>(std::clamp(v, -1e9, 1e9)); };
    return {std::max(area.x, pixel(bounds.x) - 2), std::max(area.y, pixel(bounds.y) - 2),
            std::min(area.z, pixel(bounds.z) + 2), std::min(area.w, pixel(bounds.w) + 2)};
}

bool usesTables(const VolumeDraw& draw) {
    return draw.isClassified && draw.colors->isValid(draw.usesMeans);
}

bool skipsBricks(const VolumeDraw& draw) {
    return usesTables(draw) && g_skipsBricks;
}

void drawVolume(Image& target, const DepthBuffer& depth, const VolumeDraw& draw) {
    const IVec4<int> area = coveredArea(draw);
    if (area.x >= area.z || area.y >= area.w) return;
    const RayCaster caster(draw);
    const TileGrid grid(area);
    runPieces(static_cast<unsigned>(grid.count()), [&](unsigned tile) {
        const IVec4<int> part = grid.at(static_cast<int>(tile));
        const int width = part.z - part.x;
        const int height = part.w - part.y;
        Rgba colors[TileGrid::kTile][TileGrid::kTile];
        caster.cast({part.x, part.y, 1, width, height, &depth.at(part.x, part.y), depth.size.x}, colors[0],
                    TileGrid::kTile);
        for (int row = 0; row < height; ++row)
            blendRow(target.getBytePointer(part.y + row) + std::ptrdiff_t{part.x} * 4, colors[row], width,
                     draw.view.tint);
    });
}

} // namespace internal
} // namespace qel
