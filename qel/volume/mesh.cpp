#include <qel/volume/mesh.h>

#include <qel/render/renderer_3d.h>

namespace qel {

Mesh::Mesh(Renderer* renderer) : m_renderer(renderer) {}

Mesh::~Mesh() = default;

void Mesh::clear() {
    m_positions.clear();
    m_normals.clear();
    m_indices.clear();
}

Mesh& Mesh::setPointcloud(bool isPointcloud) {
    m_isPointcloud = isPointcloud;
    return *this;
}

SmartPointer<Mesh> Renderer3D::createMesh() {
    return createMeshInternal();
}

} // namespace qel
