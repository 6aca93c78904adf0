// triangulate: polygons become triangles.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/types.h>

namespace qel::internal {

/// The most tests of a point or an edge that triangulate() makes, about a second of work. An outline that
/// needs more, which has tens of thousands of points, is left incomplete.
inline constexpr uint64 kMaxTriangulationTests = 200'000'000;

/// Cuts a polygon into triangles by ear clipping, as published for the "earcut" method: ears are clipped from
/// a ring; when none is left, crossings of neighbouring edges are cut off, then the ring is split at a
/// diagonal. Rings of more than 80 points look for points inside an ear along a z-order curve.
/// @param rings  the outline and its holes, in any orientation and with finite coordinates. Outlines that
/// cross or touch themselves yield triangles that cover them about.
/// @return three indices per triangle, into all points of all rings, counted through.
Vector<uint32> triangulate(const Vector<Vector<IVec2<float>>>& rings);

} // namespace qel::internal
