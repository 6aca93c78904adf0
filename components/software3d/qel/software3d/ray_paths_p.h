// The rays of several pixels, as vector kernels read them.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/software3d/ray_caster_p.h>

namespace qel::internal {

/// The parts of rays inside the volume, in equal segments. Places are in voxels; rays without such a part are
/// all zeros.
struct RayPaths {
    static constexpr int kMost = PixelGrid::kMostPixels;

    alignas(64) float start[3][kMost];
    alignas(64) float step[3][kMost];
    alignas(64) float segmentLength[kMost]; ///< in units of opacity
    alignas(64) uint32 isInside[kMost];     ///< all bits set for rays that have such a part
};

/// Finds the paths of up to kMostPixels pixels, in rows of lanesPerRow(); lanes without a pixel are outside.
/// @return true if any ray is inside.
bool findPaths(const VolumeDraw& draw, const PixelGrid& pixels, RayPaths& paths);

} // namespace qel::internal
