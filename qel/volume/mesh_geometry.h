// MeshGeometry: the vectors of a mesh without a renderer.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel {

/// Positions, normals and indices, from which Mesh::fromGeometry() fills a mesh.
/// @threads one thread at a time.
class QEL_API MeshGeometry : public Object {
    QEL_CLASS(MeshGeometry, Object)

public:
    /// Reserved for a format of files. @return false.
    bool fromFile(const char* path, double scale);
    /// Computes the smallest and the largest coordinate of all positions on each axis. Coordinates that are
    /// NaN do not count. Without positions, both parameters are unchanged.
    void calculateBounds(IVec3<float>& lower, IVec3<float>& upper) const;

    /// Returns the positions.
    Vector<IVec3<float>>& getPositions() { return m_positions; }
    /// Returns the positions.
    const Vector<IVec3<float>>& getPositions() const { return m_positions; }
    /// Returns the normals, one per position.
    Vector<IVec3<float>>& getNormals() { return m_normals; }
    /// Returns the normals, one per position.
    const Vector<IVec3<float>>& getNormals() const { return m_normals; }
    /// Returns the indices, three per triangle.
    Vector<uint32>& getIndices() { return m_indices; }
    /// Returns the indices, three per triangle.
    const Vector<uint32>& getIndices() const { return m_indices; }

private:
    Vector<IVec3<float>> m_positions;
    Vector<IVec3<float>> m_normals;
    Vector<uint32> m_indices;
};

} // namespace qel
