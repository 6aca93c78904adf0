// A picture of the colours and opacities of a material.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/imaging/pixels/image.h>
#include <qel/volume/volume_material.h>

namespace qelviewer {

/// Draws the colours by value, from the first to the last key of the material's curves, and below them the
/// opacities as an area. @param size  in pixels, at least 1 by 1.
qel::Image materialPicture(const qel::VolumeMaterial& material, const qel::IVec2<int>& size);

} // namespace qelviewer
