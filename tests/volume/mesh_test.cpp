#include <qel/volume/mesh.h>

#include <gtest/gtest.h>

namespace qel {
namespace {

TEST(MeshTest, HoldsCopiesOfItsVectors) {
    const SmartPointer<Mesh> mesh = new Mesh(nullptr);
    Vector<IVec3<float>> positions{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    mesh->setPositions(positions);
    positions.clear();
    EXPECT_EQ(mesh->getNumVertices(), 3u);
    EXPECT_FALSE(mesh->IsIndexed());
    mesh->setIndices({0, 1, 2, 0});
    EXPECT_TRUE(mesh->IsIndexed());
    EXPECT_EQ(mesh->getNumIndices(), 4u);
    mesh->setPositions(mesh->getPositions());
    EXPECT_EQ(mesh->getPositions()[1], IVec3<float>(1, 0, 0));
}

TEST(MeshTest, ClearKeepsTheKindOfMesh) {
    const SmartPointer<Mesh> mesh = new Mesh(nullptr);
    EXPECT_TRUE(mesh->setPointcloud(true).isPointcloud());
    mesh->setNormals({{0, 0, 1}});
    mesh->clear();
    EXPECT_TRUE(mesh->getNormals().empty());
    EXPECT_TRUE(mesh->isPointcloud());
}

} // namespace
} // namespace qel
