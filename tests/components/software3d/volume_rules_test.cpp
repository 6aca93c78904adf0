// Rules of volumes that no integral and no picture shows by itself.
#include <tests/components/software3d/scene.h>
#include <tests/support/log_capture.h>
#include <tests/support/system_fixture.h>

#include <qel/render/texture_software.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>

namespace qel {
namespace {

using test::Scene;
using Bytes = std::vector<uint8>;

constexpr float kOpacity = 3 / 255.0f;

class VolumeRulesTest : public test::SystemFixture {
protected:
    /// A volume that becomes opaque along x.
    void SetUp() override {
        SystemFixture::SetUp();
        scene = std::make_unique<Scene>(IVec2<int>(32, 32));
        scene->setVolume({4, 4, 4}, [](double x, double, double) { return 40000 * x; });
        scene->setMaterial({{0, {1, 1, 1}}}, {{0, 0}, {40000, kOpacity}}, 64);
        scene->actor->setStepCount(64);
    }
    void TearDown() override {
        scene = nullptr;
        SystemFixture::TearDown();
    }
    Bytes draw() {
        scene->drawVolume();
        return scene->bytes();
    }
    /// Draws the values of the volume and returns one of them.
    int valueAt(int x) {
        scene->actor->setUsingClassified(false).setLookupScaleBias({1 / 40000.0f, 0});
        scene->drawVolume();
        return scene->channel(x, 16, 0);
    }

    std::unique_ptr<Scene> scene;
};

TEST_F(VolumeRulesTest, EdgesRepeatTheOutermostVoxels) {
    // The first centre is at 4 of 32 pixels.
    EXPECT_EQ(valueAt(0), 32);
    EXPECT_EQ(valueAt(3), 32);
    EXPECT_GT(valueAt(6), 32);
    EXPECT_EQ(valueAt(28), valueAt(31));
}

TEST_F(VolumeRulesTest, NearestVoxelsHaveSharpBorders) {
    scene->texture->setFilter(Filter::Nearest);
    for (int voxel = 0; voxel < 4; ++voxel) EXPECT_EQ(valueAt(8 * voxel), valueAt(8 * voxel + 7)) << voxel;
    EXPECT_LT(valueAt(15), valueAt(16));
}

TEST_F(VolumeRulesTest, PlanesAfterTheSixthAreIgnored) {
    test::LogCapture capture;
    const Bytes whole = draw();
    const IVec4<float> keepsAll(0, 0, 0, 1), keepsNothing(0, 0, 0, -1);
    Vector<IVec4<float>> planes(6, keepsAll);
    scene->renderer->setClipPlanes(planes);
    planes.push_back(keepsNothing);
    scene->renderer->setClipPlanes(planes);
    capture.expect(2, "too many clip planes: 7");
    EXPECT_EQ(draw(), whole);
}

TEST_F(VolumeRulesTest, PlanesAndBoxesDoNotCutMeshes) {
    const SmartPointer<Mesh> mesh = scene->renderer->createMesh();
    mesh->createBox(0.2, 0.4, 0.2, 0.4, 0.2, 0.4);
    scene->drawMesh(*mesh, {1, 0, 0, 1});
    const Bytes whole = scene->bytes();
    scene->renderer->setClipPlanes({{0, 0, 0, -1}});
    scene->renderer->setClipBox({0.5f, 0.5f, 0.5f}, {0.6f, 0.6f, 0.6f});
    scene->drawMesh(*mesh, {1, 0, 0, 1});
    EXPECT_EQ(scene->bytes(), whole);
}

TEST_F(VolumeRulesTest, WithoutTablesOfTheGradientItsWeightIsOne) {
    for (const bool usesMeans : {false, true}) {
        scene->actor->setUsingPreintegration(usesMeans).setUsingGradientMultiplier(false);
        const Bytes unweighted = draw();
        scene->actor->setUsingGradientMultiplier(true);
        EXPECT_EQ(draw(), unweighted);
    }
}

TEST_F(VolumeRulesTest, TablesOfPastFramesAreReleased) {
    std::vector<SmartPointer<VolumeActor>> actors;
    std::vector<SmartPointer<Image>> images;
    for (int i = 1; i <= 40; ++i) {
        scene->setMaterial({{0, {1, 1, 1}}}, {{0, 0.02f * static_cast<float>(i)}}, 4);
        auto& table = static_cast<TextureSoftware&>(*scene->actor->getColorAlphaLookupTexture());
        images.push_back(table.getSharedImage());
        actors.push_back(makeObject<VolumeActor>(*scene->actor));
    }
    scene->draw([&] {
        for (const auto& actor : actors) actor->onRender(scene->renderer.get());
    });
    actors.clear();
    scene->setMaterial({{0, {1, 1, 1}}}, {{0, 1}}, 4);
    scene->drawVolume();
    const auto isHeld = [](const auto& image) { return image->getReferenceCount() > 1; };
    EXPECT_LE(std::count_if(images.begin(), images.end(), isHeld), 16);
}

TEST_F(VolumeRulesTest, UnclassifiedVolumesIgnoreAllSwitches) {
    scene->actor->setUsingClassified(false);
    const Bytes expected = draw();
    const std::function<void(VolumeActor&)> changes[] = {
        [](VolumeActor& actor) { actor.setUsingPreintegration(false); },
        [](VolumeActor& actor) { actor.setUsingGradientMultiplier(true); },
        [](VolumeActor& actor) { actor.setUsingLocalOcclusion(true); },
        [](VolumeActor& actor) { actor.setUsingGlobalOcclusion(true); },
        [](VolumeActor& actor) { actor.setVolumeGradientCalculation(VolumeGradientCalculation::Sobel); },
        [](VolumeActor& actor) { actor.setColorAlphaLookupTexture(nullptr); },
    };
    for (const auto& change : changes) {
        change(*scene->actor);
        EXPECT_EQ(draw(), expected) << &change - changes;
    }
}

TEST_F(VolumeRulesTest, OtherGradientsAreDrawnAsTheFirst) {
    scene->setMaterial({{0, {1, 1, 1}}}, {{0, 0}, {40000, kOpacity}}, 64, {{0, 0}, {20000, 1}});
    const Bytes expected = draw();
    for (const int number : {0, 3, -1}) {
        scene->actor->setVolumeGradientCalculation(static_cast<VolumeGradientCalculation>(number));
        EXPECT_EQ(draw(), expected) << number;
    }
    scene->actor->setVolumeGradientCalculation(VolumeGradientCalculation::CentralDifference);
    EXPECT_EQ(draw(), expected);
}

TEST_F(VolumeRulesTest, GradientsAtACutAreThoseOfTheWholeVolume) {
    // The cut lies where the volume is even: without what was cut off, the gradient would be large.
    scene->setVolume({16, 16, 16}, [](double, double, double) { return 40000; });
    scene->setMaterial({{0, {1, 1, 1}}}, {{0, 0}, {40000, kOpacity}}, 64, {{0, 0}, {1000, 1}});
    scene->renderer->setClipPlanes({{0, 0, 1, -0.5f}});
    EXPECT_EQ(draw(), Bytes(scene->target->getByteSize())) << "no gradient, no opacity";
}

TEST_F(VolumeRulesTest, ClearingDropsVolumesThatWaitForMeshes) {
    scene->draw([this] {
        scene->actor->onRender(scene->renderer.get());
        scene->renderer->clear({0, 0, 0, 0});
    });
    EXPECT_EQ(scene->bytes(), Bytes(scene->target->getByteSize()));
}

} // namespace
} // namespace qel
