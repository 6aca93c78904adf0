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

class MeshGeometry;

/// Positions with their normals, drawn as triangles or as points; created by Renderer3D::createMesh(). Back
/// ends derive from it. The accessors store what they are given: the back end checks indices and lengths
/// before it draws. Triangles of createBox() and createCylinder() face outward: the product
/// `(b - a) x (c - a)` of their corners points out.
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

    /// Empties the positions, normals and indices; their memory and the bounds stay.
    void clear();
    /// Copies the vectors of @p geometry and computes the bounds.
    void fromGeometry(const MeshGeometry& geometry);
    /// Becomes a box with flat sides, of 24 positions; swapped limits are exchanged.
    void createBox(double x0, double x1, double y0, double y1, double z0, double z1);
    /// Becomes the box from 0 to 1 on all axes.
    void createBox() { createBox(0, 1, 0, 1, 0, 1); }
    /// Becomes a cylinder around the y axis, centred at the origin. Positions 0 and 1 are the centres of its
    /// top and bottom; two more follow for each segment.
    /// @param segments  the corners of the rim; if it is 0 or less, there are only the centres.
    /// @param capped    true for triangles on top and bottom.
    void createCylinder(double radius, double height, int segments, bool capped);
    /// Copies the positions and computes the bounds.
    void setPositions(const Vector<IVec3<float>>& positions);
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
    /// Returns the smallest coordinates; (0, 0, 0) before there were positions.
    const IVec3<float>& getLowerCorner() const { return m_lowerCorner; }
    /// Returns the largest coordinates; (0, 0, 0) before there were positions.
    const IVec3<float>& getUpperCorner() const { return m_upperCorner; }
    /// Returns the point halfway between the two corners.
    const IVec3<float>& getCenter() const { return m_center; }
    /// Returns the difference of the two corners.
    const IVec3<float>& getDimensions() const { return m_dimensions; }
    /// Returns the renderer that created the mesh, or null if it has been destroyed.
    Renderer* getRenderer() const { return m_renderer.get(); }

protected:
    /// Adds a position unless there is an equal one, for which it searches from the start.
    /// @return its index; the first one if there are several.
    uint32 addVertex(const IVec3<float>& position);

private:
    void pushVertex(const IVec3<float>& position, const IVec3<float>& normal);
    void addTriangle(uint32 a, uint32 b, uint32 c);
    void addQuad(uint32 a, uint32 b, uint32 c, uint32 d);
    void calculateBBox();

    Vector<IVec3<float>> m_positions;
    Vector<IVec3<float>> m_normals;
    Vector<uint32> m_indices;
    bool m_isPointcloud = false;
    IVec3<float> m_lowerCorner;
    IVec3<float> m_upperCorner;
    IVec3<float> m_center;
    IVec3<float> m_dimensions;
    WeakPointer<Renderer> m_renderer;
};

} // namespace qel
