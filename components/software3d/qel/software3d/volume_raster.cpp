#include <qel/software3d/volume_raster_p.h>

#include <qel/software3d/parallel_p.h>
#include <qel/software3d/ray_caster_p.h>

#include <algorithm>

namespace qel::internal {
namespace {

constexpr int kTile = 32;

/// Returns the pixels that a volume may cover: those around the corners of its box, if all of these are in
/// front of the eye.
IVec4<int> coveredArea(const VolumeDraw& draw) {
    const Double4x4 toClip = draw.model.multiply(draw.view.view).multiply(draw.view.projection);
    const IVec4<int>& port = draw.view.viewport;
    IVec4<int> area = draw.view.clip;
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

} // namespace

void drawVolume(Image& target, DepthBuffer& depth, const VolumeDraw& draw) {
    const IVec4<int> area = coveredArea(draw);
    if (area.x >= area.z || area.y >= area.w) return;
    const RayCaster caster(draw);
    const IVec4<float>& tint = draw.view.tint;
    const float alpha = toUnit(tint.w);
    const int columns = (area.z - area.x + kTile - 1) / kTile, rows = (area.w - area.y + kTile - 1) / kTile;
    runPieces(static_cast<unsigned>(columns * rows), [&](unsigned tile) {
        const int left = area.x + static_cast<int>(tile) % columns * kTile;
        const int top = area.y + static_cast<int>(tile) / columns * kTile;
        const int width = std::min(kTile, area.z - left);
        for (int y = top; y < std::min(top + kTile, area.w); ++y) {
            Rgba colors[kTile];
            caster.castRow(y, left, 1, width, &depth.at(left, y), colors);
            uint8* const row = target.getBytePointer(y) + std::ptrdiff_t{left} * 4;
            for (int i = 0; i < width; ++i) {
                const Rgba& color = colors[i];
                if (!(color.a > 0)) continue;
                blendPixel(row + std::ptrdiff_t{i} * 4, {color.r * tint.x * alpha, color.g * tint.y * alpha,
                                                         color.b * tint.z * alpha, color.a * alpha});
            }
        }
    });
}

} // namespace qel::internal
