#include <qel/volume/mesh.h>

#include <qel/volume/mesh_geometry.h>

#include <gtest/gtest.h>

#include <cmath>

namespace qel {
namespace {

/// Returns the smallest product of a triangle's normal and the direction from the origin to its centre.
float leastOutward(const Mesh& mesh, const IVec3<float>& origin) {
    float least = 1e30f;
    for (size_t i = 0; i + 2 < mesh.getNumIndices(); i += 3) {
        const auto corner = [&](size_t k) { return mesh.getPositions()[mesh.getIndices()[i + k]]; };
        const IVec3<float> a = corner(0), b = corner(1), c = corner(2);
        const IVec3<float> u(b.x - a.x, b.y - a.y, b.z - a.z), v(c.x - a.x, c.y - a.y, c.z - a.z);
        const IVec3<float> n(u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x);
        const IVec3<float> out((a.x + b.x + c.x) / 3 - origin.x, (a.y + b.y + c.y) / 3 - origin.y,
                               (a.z + b.z + c.z) / 3 - origin.z);
        least = std::min(least, n.x * out.x + n.y * out.y + n.z * out.z);
    }
    return least;
}

TEST(MeshTest, ABoxFacesOutward) {
    const SmartPointer<Mesh> mesh = new Mesh(nullptr);
    mesh->createBox(3, 1, 0, 2, 5, 6);
    EXPECT_EQ(mesh->getNumVertices(), 24u);
    EXPECT_EQ(mesh->getNumIndices(), 36u);
    EXPECT_EQ(mesh->getNormals().size(), 24u);
    EXPECT_EQ(mesh->getLowerCorner(), IVec3<float>(1, 0, 5)) << "swapped limits are exchanged";
    EXPECT_EQ(mesh->getUpperCorner(), IVec3<float>(3, 2, 6));
    EXPECT_GT(leastOutward(*mesh, mesh->getCenter()), 0);
    mesh->createBox();
    EXPECT_EQ(mesh->getNumVertices(), 24u) << "the old box is replaced";
    EXPECT_EQ(mesh->getCenter(), IVec3<float>(0.5f, 0.5f, 0.5f));
    EXPECT_EQ(mesh->getDimensions(), IVec3<float>(1, 1, 1));
}

TEST(MeshTest, ACylinderFacesOutward) {
    const SmartPointer<Mesh> mesh = new Mesh(nullptr);
    for (const bool capped : {false, true}) {
        mesh->createCylinder(2, 10, 7, capped);
        EXPECT_EQ(mesh->getNumVertices(), 16u);
        EXPECT_EQ(mesh->getNormals().size(), 16u);
        EXPECT_EQ(mesh->getNumIndices(), capped ? 84u : 42u);
        EXPECT_GT(leastOutward(*mesh, {}), 0);
        EXPECT_EQ(mesh->getLowerCorner().y, -5);
        EXPECT_EQ(mesh->getUpperCorner().x, 2);
    }
    mesh->createCylinder(1, 1, -3, true);
    EXPECT_EQ(mesh->getNumVertices(), 2u);
    EXPECT_FALSE(mesh->IsIndexed());
}

TEST(MeshTest, AGeometryFillsAMesh) {
    MeshGeometry geometry;
    geometry.getPositions() = {{0, 0, 0}, {2, 4, 6}};
    geometry.getNormals() = {{1, 0, 0}};
    geometry.getIndices() = {0, 1, 0};
    const SmartPointer<Mesh> mesh = new Mesh(nullptr);
    mesh->fromGeometry(geometry);
    EXPECT_EQ(mesh->getCenter(), IVec3<float>(1, 2, 3));
    EXPECT_EQ(mesh->getNormals().size(), 1u);
    EXPECT_EQ(mesh->getNumIndices(), 3u);
}

} // namespace
} // namespace qel
