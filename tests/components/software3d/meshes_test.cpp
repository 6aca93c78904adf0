// Meshes, their depth, and 2D operations around 3D.
#include <tests/components/software3d/scene.h>
#include <tests/support/log_capture.h>

#include <qel/software3d/software_volume_texture.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace qel {
namespace {

using test::Scene;

const Curve<IVec3<float>> kWhite{{0, {1, 1, 1}}};
constexpr IVec4<float> kRed{1, 0, 0, 1};
constexpr IVec4<float> kGreen{0, 1, 0, 1};

class MeshDrawingTest : public ::testing::Test {
protected:
    SmartPointer<Mesh> box(double z0, double z1) {
        SmartPointer<Mesh> mesh = scene.renderer->createMesh();
        mesh->createBox(0.25, 0.75, 0.25, 0.75, z0, z1);
        return mesh;
    }
    SmartPointer<Mesh> triangle(const Vector<IVec3<float>>& corners) {
        SmartPointer<Mesh> mesh = scene.renderer->createMesh();
        mesh->setPositions(corners);
        return mesh;
    }
    size_t countPixels() {
        size_t count = 0;
        for (int y = 0; y < 32; ++y)
            for (int x = 0; x < 32; ++x) count += scene.alpha(x, y) != 0;
        return count;
    }

    Scene scene;
};

TEST_F(MeshDrawingTest, HugeTrianglesAreCutToThePicture) {
    const float huge[] = {1e4f, 7e9f, 3e19f, 1.7e30f, 3e38f};
    for (const float size : huge) {
        for (const float z : {0.25f, 0.5f}) {
            scene.drawMesh(*triangle({{-size, -size * 0.7f, z}, {0.3f * size, size, z}, {size, -size, z}}),
                           kRed);
            EXPECT_EQ(countPixels(), 1024u) << size;
            scene.drawMesh(*triangle({{-size, 0.5f, -size}, {0.5f, size, size}, {size, -size, 0.7f * size}}),
                           kRed);
        }
    }
}

TEST_F(MeshDrawingTest, ABoxCoversItsPixels) {
    scene.drawMesh(*box(0.2, 0.8), kRed);
    EXPECT_EQ(countPixels(), 256u);
    EXPECT_EQ(scene.channel(16, 16, 2), 255) << "a face seen from the front has the full colour";
    EXPECT_EQ(scene.alpha(8, 8), 255);
    EXPECT_EQ(scene.alpha(7, 8), 0);
    EXPECT_EQ(scene.alpha(24, 23), 0);
}

TEST_F(MeshDrawingTest, TheNearestIsSeenInAnyOrder) {
    const SmartPointer<Mesh> near = box(0.1, 0.2), far = box(0.5, 0.6);
    const auto greenAfter = [&](bool nearFirst, bool usesDepth) {
        scene.draw([&] {
            scene.renderer->setDepthTest(usesDepth);
            scene.addMesh(nearFirst ? *near : *far, nearFirst ? kRed : kGreen);
            scene.addMesh(nearFirst ? *far : *near, nearFirst ? kGreen : kRed);
        });
        return scene.channel(16, 16, 1);
    };
    EXPECT_EQ(greenAfter(true, true), 0);
    EXPECT_EQ(greenAfter(false, true), 0);
    EXPECT_EQ(greenAfter(true, false), 255) << "without a depth test the last one";
}

TEST_F(MeshDrawingTest, TransparentMeshesBlendAndHideNothing) {
    const SmartPointer<Mesh> near = triangle({{0, 0, 0.1f}, {1, 0, 0.1f}, {0, 1, 0.1f}});
    const SmartPointer<Mesh> far = triangle({{0, 0, 0.5f}, {1, 0, 0.5f}, {0, 1, 0.5f}});
    for (const bool nearFirst : {false, true}) {
        scene.draw([&] {
            if (nearFirst) scene.addMesh(*near, {1, 0, 0, 0.5f});
            scene.addMesh(*far, kGreen);
            if (!nearFirst) scene.addMesh(*near, {1, 0, 0, 0.5f});
        });
        EXPECT_EQ(scene.channel(5, 26, 1), nearFirst ? 255 : 128);
        EXPECT_EQ(scene.alpha(5, 26), 255);
    }
}

TEST_F(MeshDrawingTest, NeighboursShareNoPixel) {
    const SmartPointer<Mesh> mesh = scene.renderer->createMesh();
    // A fan around a pixel's centre, half transparent: a pixel drawn twice would be darker.
    const float centre = 16.5f / 32;
    Vector<IVec3<float>> corners{{centre, centre, 0.5f}};
    Vector<uint32> indices;
    for (uint32 i = 0; i < 7; ++i) {
        const float angle = static_cast<float>(i) * 0.8975979f;
        corners.push_back({centre + 0.4f * std::cos(angle), centre + 0.4f * std::sin(angle), 0.5f});
        indices.insert(indices.end(), {0, i + 1, (i + 1) % 7 + 1});
    }
    mesh->setPositions(corners);
    mesh->setIndices(indices);
    scene.drawMesh(*mesh, {1, 1, 1, 0.5f});
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 32; ++x) EXPECT_THAT(scene.alpha(x, y), testing::AnyOf(0, 128)) << x << " " << y;
    EXPECT_EQ(scene.alpha(16, 15), 128);
}

TEST_F(MeshDrawingTest, CullingFollowsTheCorners) {
    // Seen along +z, these corners are clockwise: (b - a) x (c - a) points to the eye.
    const SmartPointer<Mesh> mesh = triangle({{0, 0, 0.5f}, {0, 1, 0.5f}, {1, 0, 0.5f}});
    const auto isDrawn = [&](int mode) {
        scene.renderer->setCullMode(mode);
        scene.drawMesh(*mesh, kRed);
        return scene.alpha(5, 26) != 0;
    };
    EXPECT_TRUE(isDrawn(0));
    EXPECT_TRUE(isDrawn(1));
    EXPECT_FALSE(isDrawn(2));
    scene.renderer->setViewMatrix({-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 1});
    scene.renderer->setCullMode(1);
    scene.drawMesh(*mesh, kRed);
    EXPECT_NE(scene.alpha(26, 26), 0) << "a reflected front face is still a front face";
}

TEST_F(MeshDrawingTest, DropsWhatIsNotATriangle) {
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    const SmartPointer<Mesh> mesh =
        triangle({{0, 0, 0.5f}, {1, 0, 0.5f}, {0, 1, 0.5f}, {nan, 0, 0}, {inf, 0, 0}});
    for (const Vector<uint32>& indices :
         {Vector<uint32>{0, 1, 5}, {0, 1, 0xFFFFFFFF}, {0, 1, 3}, {0, 1, 4}, {0, 1}, {0, 1, 1}}) {
        mesh->setIndices(indices);
        scene.drawMesh(*mesh, kRed);
        EXPECT_EQ(countPixels(), 0u);
    }
    mesh->setIndices({0, 1, 2, 0, 1});
    scene.drawMesh(*mesh, kRed);
    EXPECT_GT(countPixels(), 400u) << "the rest of a list is ignored";
    scene.drawMesh(*scene.renderer->createMesh(), kRed);
    EXPECT_EQ(countPixels(), 0u) << "an empty mesh";
}

TEST_F(MeshDrawingTest, PointsArePixels) {
    const SmartPointer<Mesh> mesh = triangle({{0.1f, 0.1f, 0.5f}, {0.9f, 0.9f, 0.5f}, {2, 0, 0}});
    mesh->setPointcloud(true);
    scene.drawMesh(*mesh, kGreen);
    EXPECT_EQ(countPixels(), 2u);
    EXPECT_EQ(scene.channel(28, 3, 1), 255);
}

TEST_F(MeshDrawingTest, RaysEndAtMeshesInAnyOrder) {
    scene.setVolume({4, 4, 64}, [](double, double, double) { return 1; });
    scene.setMaterial(kWhite, {{0, 1 / 255.0f}, {1, 1 / 255.0f}}, 4);
    const SmartPointer<Mesh> mesh = box(0.5, 0.9);
    const auto drawn = [&](bool volumeFirst) {
        scene.draw([&] {
            if (volumeFirst) scene.actor->onRender(scene.renderer.get());
            scene.addMesh(*mesh, kRed);
            if (!volumeFirst) scene.actor->onRender(scene.renderer.get());
        });
        return scene.bytes();
    };
    EXPECT_EQ(drawn(true), drawn(false));
    const double path = 0.5 / (std::sqrt(3.0) / 512);
    const double rest = std::pow(254.0 / 255, path);
    EXPECT_NEAR(scene.channel(16, 16, 1), 255 * (1 - rest), 1) << "white in front of red";
    EXPECT_NEAR(scene.channel(16, 16, 2), 255, 1);
    EXPECT_NEAR(scene.channel(2, 2, 1), 255 * (1 - rest * rest), 1) << "beside the mesh";
}

TEST_F(MeshDrawingTest, TheFarthestVolumeIsDrawnFirst) {
    scene.setVolume({2, 2, 2}, [](double, double, double) { return 1; });
    scene.setMaterial({{0, {1, 0, 0}}}, {{0, 1}}, 2);
    VolumeMaterial material;
    material.setColorCurve({{0, {0, 1, 0}}}).setOpacityCurve({{0, 1}}).build(2, scene.renderer.get());
    VolumeActor behind;
    behind.setScalarTexture(scene.texture.get()).setVolumeScaleBias({1, 0}).setVolumeMaterial(material);
    behind.setModelMatrix({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0.3f, 0, 0, 0, 0.7f, 1});
    scene.actor->setModelMatrix({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0.3f, 0, 0, 0, 0.1f, 1});
    for (const bool behindFirst : {false, true}) {
        scene.draw([&] {
            if (behindFirst) behind.onRender(scene.renderer.get());
            scene.actor->onRender(scene.renderer.get());
            if (!behindFirst) behind.onRender(scene.renderer.get());
        });
        EXPECT_EQ(scene.channel(9, 9, 2), 255) << behindFirst;
        EXPECT_EQ(scene.channel(9, 9, 1), 0) << behindFirst;
    }
}

TEST_F(MeshDrawingTest, FlatOperationsLieOnTop) {
    scene.setVolume({2, 2, 2}, [](double, double, double) { return 1; });
    scene.setMaterial(kWhite, {{0, 1}}, 2);
    SoftwareRenderer3D& renderer = *scene.renderer;
    scene.draw([&] {
        scene.actor->onRender(&renderer);
        renderer.setDepthTest(false);
        renderer.pushColor(kRed);
        renderer.drawRectInternal({8, 8, 24, 24});
        renderer.popColor();
    });
    EXPECT_EQ(scene.channel(16, 16, 1), 0);
    EXPECT_EQ(scene.channel(2, 2, 1), 255);
}

TEST_F(MeshDrawingTest, ClipAndViewportAreIndependent) {
    const SmartPointer<Mesh> mesh = box(0.2, 0.8);
    scene.renderer->setViewport3D({16, 0, 48, 32});
    scene.draw([&] {
        scene.renderer->pushClip({0, 0, 32, 20});
        scene.addMesh(*mesh, kRed);
    });
    EXPECT_EQ(scene.alpha(23, 16), 0);
    EXPECT_EQ(scene.alpha(24, 8), 255) << "the box begins at a quarter of the viewport";
    EXPECT_EQ(scene.alpha(24, 20), 0);
    scene.renderer->setViewport3D({});
}

TEST_F(MeshDrawingTest, OtherTargetsHaveNo3D) {
    const auto grey = makeObject<Image>(L8, IVec2<int>(8, 8));
    for (Image* const target : {grey.get(), static_cast<Image*>(nullptr)}) {
        scene.renderer->setRenderTarget(target);
        scene.drawMesh(*box(0, 1), kRed);
    }
    EXPECT_EQ(grey->getBytePointer(4)[4], 0);
}

TEST(SoftwareVolumeTextureTest, VoxelsAreZeroUntilTheyAreUploaded) {
    const auto renderer = makeObject<SoftwareRenderer3D>();
    const SmartPointer<VolumeTexture> texture = renderer->createVolumeTexture();
    auto& volume = static_cast<SoftwareVolumeTexture&>(*texture);
    texture->initialize(UInt16, {3, 2, 20});
    const uint16 slice[] = {1, 2, 3, 4, 5, 6};
    texture->uploadData(9, 10, UInt16, slice);
    EXPECT_EQ(volume.getVoxels()[9 * 6 + 2], 3);
    EXPECT_EQ(volume.getVoxels()[8 * 6 + 5], 0);
    EXPECT_EQ(volume.getUploadedSlices(), 1);
    EXPECT_EQ(volume.getBrickCount(), IVec3<int>(1, 1, 3));
    EXPECT_EQ(volume.getBricks()[0].maximum, 0) << "slice 9 is two away";
    EXPECT_EQ(volume.getBricks()[1].maximum, 6);
    EXPECT_EQ(volume.getBricks()[1].minimum, 0);
    texture->uploadData(8, 9, UInt16, slice);
    EXPECT_EQ(volume.getBricks()[0].maximum, 6) << "slice 8 is a neighbour";
}

TEST(SoftwareVolumeTextureTest, TakesImagesOfItsSizeOnly) {
    test::LogCapture log;
    const auto renderer = makeObject<SoftwareRenderer3D>();
    const SmartPointer<VolumeTexture> texture = renderer->createVolumeTexture();
    texture->initialize(UInt16, {3, 2, 2});
    Image image(UInt16, {3, 2});
    std::fill_n(image.getBytePointer(), image.getByteSize(), uint8{9});
    texture->uploadData(1, image);
    EXPECT_EQ(static_cast<SoftwareVolumeTexture&>(*texture).getVoxels()[6], 0x909);
    texture->uploadData(1, Image(UInt16, {3, 1}));
    log.expect(3, "invalid upload of the slices 1 to 2");
    texture->uploadData(std::numeric_limits<int>::max(), image);
    log.expect(3, "invalid upload of the slices 2147483647 to 2147483648");
}

TEST(SoftwareVolumeTextureTest, RefusesWhatItCannotStore) {
    test::LogCapture log;
    const auto renderer = makeObject<SoftwareRenderer3D>();
    const SmartPointer<VolumeTexture> texture = renderer->createVolumeTexture();
    const uint16 voxel[] = {7};
    texture->initialize(UInt8, {1, 1, 1});
    log.expect(3, "unsupported format of voxels: 102");
    EXPECT_EQ(texture->getSize(), IVec3<int>());
    texture->initialize(UInt16, {1, 1, 1});
    for (const auto& [begin, end] : {std::pair(-1, 0), {0, 2}, {1, 2}, {1, 0}}) {
        texture->uploadData(begin, end, UInt16, voxel);
        log.expect(3, "invalid upload of the slices " + std::to_string(begin) + " to " + std::to_string(end));
    }
    texture->uploadData(0, 1, UInt8, voxel);
    log.expect(3, "invalid upload of the slices 0 to 1");
    EXPECT_EQ(static_cast<SoftwareVolumeTexture&>(*texture).getVoxels()[0], 0);
    EXPECT_THROW(texture->initialize(UInt16, {1 << 30, 1 << 30, 1 << 30}), std::bad_alloc);
}

} // namespace
} // namespace qel
