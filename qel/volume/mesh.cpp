#include <qel/volume/mesh.h>

#include <qel/render/renderer_3d.h>
#include <qel/volume/mesh_bounds_p.h>
#include <qel/volume/mesh_geometry.h>

#include <algorithm>
#include <cmath>
#include <numbers>

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

void Mesh::setPositions(const Vector<IVec3<float>>& positions) {
    m_positions = positions;
    calculateBBox();
}

void Mesh::fromGeometry(const MeshGeometry& geometry) {
    m_positions = geometry.getPositions();
    m_normals = geometry.getNormals();
    m_indices = geometry.getIndices();
    calculateBBox();
}

void Mesh::calculateBBox() {
    if (m_positions.empty()) return;
    internal::calculateBounds(m_positions, m_lowerCorner, m_upperCorner);
    for (int axis = 0; axis < 3; ++axis) {
        m_dimensions[axis] = m_upperCorner[axis] - m_lowerCorner[axis];
        m_center[axis] = m_lowerCorner[axis] + m_dimensions[axis] * 0.5f;
    }
}

uint32 Mesh::addVertex(const IVec3<float>& position) {
    const auto found = std::find(m_positions.begin(), m_positions.end(), position);
    const auto index = static_cast<uint32>(found - m_positions.begin());
    if (found == m_positions.end()) m_positions.push_back(position);
    return index;
}

void Mesh::pushVertex(const IVec3<float>& position, const IVec3<float>& normal) {
    m_positions.push_back(position);
    m_normals.push_back(normal);
}

void Mesh::addTriangle(uint32 a, uint32 b, uint32 c) {
    m_indices.insert(m_indices.end(), {a, b, c});
}

void Mesh::addQuad(uint32 a, uint32 b, uint32 c, uint32 d) {
    addTriangle(a, b, c);
    addTriangle(a, c, d);
}

void Mesh::createBox(double x0, double x1, double y0, double y1, double z0, double z1) {
    clear();
    IVec3<float> corners[2] = {IVec3<float>(IVec3<double>(x0, y0, z0)),
                               IVec3<float>(IVec3<double>(x1, y1, z1))};
    for (int axis = 0; axis < 3; ++axis)
        if (corners[1][axis] < corners[0][axis]) std::swap(corners[0][axis], corners[1][axis]);
    for (int axis = 0; axis < 3; ++axis) {
        const int u = (axis + 1) % 3, v = (axis + 2) % 3;
        for (const int side : {0, 1}) {
            const auto first = static_cast<uint32>(m_positions.size());
            IVec3<float> normal;
            normal[axis] = side == 1 ? 1.0f : -1.0f;
            for (const auto& [atU, atV] : {IVec2<int>(0, 0), {1, 0}, {1, 1}, {0, 1}}) {
                IVec3<float> position;
                position[axis] = corners[side][axis];
                position[u] = corners[atU][u];
                position[v] = corners[atV][v];
                pushVertex(position, normal);
            }
            if (side == 1)
                addQuad(first, first + 1, first + 2, first + 3);
            else
                addQuad(first, first + 3, first + 2, first + 1);
        }
    }
    calculateBBox();
}

void Mesh::createCylinder(double radius, double height, int segments, bool capped) {
    clear();
    const auto top = static_cast<float>(height * 0.5);
    pushVertex({0, top, 0}, {0, 1, 0});
    pushVertex({0, -top, 0}, {0, -1, 0});
    const auto count = static_cast<uint32>(std::max(segments, 0));
    for (uint32 i = 0; i < count; ++i) {
        const double angle = 2.0 * std::numbers::pi * i / count;
        const IVec3<double> radial(std::cos(angle), 0, std::sin(angle));
        const IVec3<double> rim(radial.x * radius, 0, radial.z * radius);
        for (const float y : {top, -top})
            pushVertex({static_cast<float>(rim.x), y, static_cast<float>(rim.z)}, IVec3<float>(radial));
    }
    for (uint32 i = 0; i < count; ++i) {
        const uint32 here = 2 + 2 * i, next = 2 + 2 * ((i + 1) % count);
        addQuad(here, next, next + 1, here + 1); // upper ends are even
        if (!capped) continue;
        addTriangle(0, next, here);
        addTriangle(1, here + 1, next + 1);
    }
    calculateBBox();
}

SmartPointer<Mesh> Renderer3D::createMesh() {
    return createMeshInternal();
}

} // namespace qel
