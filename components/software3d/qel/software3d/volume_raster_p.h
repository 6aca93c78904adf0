// Volumes on the target.
#pragma once

#include <qel/imaging/pixels/image.h>
#include <qel/software3d/mesh_raster_p.h>
#include <qel/software3d/volume_draw_p.h>

namespace qel::internal {

/// Draws a volume on @p target, which is BGRA8, on all processors; rays end at @p depth.
void drawVolume(Image& target, DepthBuffer& depth, const VolumeDraw& draw);

} // namespace qel::internal
