// Volumes on the target.
#pragma once

#include <qel/imaging/pixels/image.h>
#include <qel/software3d/mesh_raster_p.h>
#include <qel/software3d/volume_draw_p.h>

namespace qel::internal {

/// Returns the pixels that a volume may cover, which may be none.
IVec4<int> coveredArea(const VolumeDraw& draw);
/// Draws a volume on @p target, which is BGRA8, on all processors; rays end at @p depth.
void drawVolume(Image& target, const DepthBuffer& depth, const VolumeDraw& draw);
/// Returns true if blocks that are transparent need not be sampled with the settings of @p draw.
bool skipsBricks(const VolumeDraw& draw);
/// Returns true if the colours of @p draw come from its tables.
bool usesTables(const VolumeDraw& draw);

} // namespace qel::internal
