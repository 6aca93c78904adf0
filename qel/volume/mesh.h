// Mesh: the triangles or points that a 3D renderer draws.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/types.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/platform/api.h>
#include <qel/render/renderer.h>

namespace qel {

/// Positions with their normals, drawn as triangles or as points; created by Renderer3D::createMesh(). Back
/// ends derive from it. The accessors store what they are given: the back end checks indices and lengths
/// before it draws.
/// @threads main thread.
class QEL_API Mesh : public Object {
    QEL_CLASS(Mesh, Object)

public:
    /// Creates an empty mesh. @owner keeps a weak pointer to @p renderer, which may be null.
    explicit Mesh(Renderer* renderer);
    Mesh(const Mesh&) = delete;
    Mesh& operator=(const Mesh&) = delete;
    ~Mesh() override;

    /// Copies the vectors into the back end's memory. Belongs to the back end; the library does not call it.
    virtual void uploadInternal() {}
    /// Frees the back end's memory. Belongs to the back end; the library does not call it.
    virtual void releaseInternal() {}

    /// Empties the positions, normals and indices; their memory stays reserved.
    void clear();
    /// Copies the positions.
    void setPositions(const Vector<IVec3<float>>& positions) { m_positions = positions; }
    /// Copies the normals, one per position.
    void setNormals(const Vector<IVec3<float>>& normals) { m_normals = normals; }
    /// Copies the indices, three per triangle.
    void setIndices(const Vector<uint32>& indices) { m_indices = indices; }
    /// Returns the positions.
    const Vector<IVec3<float>>& getPositions() const { return m_positions; }
    /// Returns the normals.
    const Vector<IVec3<float>>& getNormals() const { return m_normals; }
    /// Returns the indices.
    const Vector<uint32>& getIndices() const { return m_indices; }
    /// Returns the number of positions.
    size_t getNumVertices() const { return m_positions.size(); }
    /// Returns the number of indices.
    size_t getNumIndices() const { return m_indices.size(); }
    /// Returns true if there are indices.
    bool IsIndexed() const { return !m_indices.empty(); }
    /// Sets whether the positions are points. @return this mesh.
    Mesh& setPointcloud(bool isPointcloud);
    /// Returns true if the positions are points; false initially.
    bool isPointcloud() const { return m_isPointcloud; }
    /// Returns the renderer that created the mesh, or null if it has been destroyed.
    Renderer* getRenderer() const { return m_renderer.get(); }

private:
    Vector<IVec3<float>> m_positions;
    Vector<IVec3<float>> m_normals;
    Vector<uint32> m_indices;
    bool m_isPointcloud = false;
    WeakPointer<Renderer> m_renderer;
};

} // namespace qel
