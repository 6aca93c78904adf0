#include <qel/volume/mesh_geometry.h>

#include <qel/volume/mesh_bounds_p.h>

namespace qel {

bool MeshGeometry::fromFile(const char*, double) {
    return false;
}

void MeshGeometry::calculateBounds(IVec3<float>& lower, IVec3<float>& upper) const {
    internal::calculateBounds(m_positions, lower, upper);
}

} // namespace qel
