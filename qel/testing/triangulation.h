// Test seam: how polygons are cut into triangles.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel::seams {

/// Cuts a polygon with holes into triangles, as Renderer::drawFilledPolygonInternal() does for one without.
/// @param rings  the outline, then its holes; the coordinates are finite.
/// @return three indices per triangle, into all points of all rings, counted through.
QEL_API Vector<uint32> triangulate(const Vector<Vector<IVec2<float>>>& rings);

} // namespace qel::seams
