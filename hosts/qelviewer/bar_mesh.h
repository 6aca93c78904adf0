// Meshes of thin bars: the edges of a box and the lines of the crosshair.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/volume/mesh_geometry.h>

namespace qelviewer {

/// Adds a bar along an axis. @param thickness  half of the width on each axis.
/// @param from, to  the ends; they differ on @p axis only.
void addBar(qel::MeshGeometry& geometry, int axis, const qel::IVec3<float>& from, const qel::IVec3<float>& to,
            const qel::IVec3<float>& thickness);

/// Adds the twelve edges of a box.
void addBoxEdges(qel::MeshGeometry& geometry, const qel::IVec3<float>& lower, const qel::IVec3<float>& upper,
                 const qel::IVec3<float>& thickness);

} // namespace qelviewer
