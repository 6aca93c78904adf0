// Volumes against the integrals that they approximate, and against themselves drawn in another way.
#include <tests/components/software3d/scene.h>
#include <tests/support/system_fixture.h>

#include <qel/render/texture_software.h>
#include <qel/software3d/seams.h>
#include <qel/testing/machine.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace qel {
namespace {

using test::Scene;

const Curve<IVec3<float>> kWhite{{0, {1, 1, 1}}};

/// The length for which opacities hold, in the cube from 0 to 1.
const double kUnit = std::sqrt(3.0) / 512;

/// Returns the coverage of a line on which the opacity is a function of 0 to 1.
double coverage(double length, const std::function<double(double)>& opacity) {
    constexpr int kParts = 20000;
    double sum = 0;
    for (int i = 0; i < kParts; ++i) sum -= std::log1p(-opacity((i + 0.5) / kParts));
    return 1 - std::exp(-sum / kParts * length / kUnit);
}

/// A ramp along z whose opacity is 25/255 * 26/255 = 0.009996 at the end.
void makeRamp(Scene& scene) {
    scene.setVolume({2, 2, 512}, [](double, double, double z) { return z * 60000; });
    scene.setMaterial(kWhite, {{0, 0}, {60000, 25 / 255.0f}}, 26, {{0, 26 / 255.0f}});
}

TEST(VolumeIntegralTest, ARampConvergesToItsIntegral) {
    Scene scene({4, 4});
    makeRamp(scene);
    const double expected = 255 * coverage(1, [](double z) { return z * 650 / 65025; });
    EXPECT_NEAR(expected / 255, 0.7730, 0.0005);
    for (const bool usesMeans : {false, true}) {
        for (const int steps : {32, 64, 512, 4000}) {
            scene.actor->setUsingPreintegration(usesMeans).setStepCount(steps);
            scene.drawVolume();
            EXPECT_NEAR(scene.alpha(1, 2), expected, 1) << usesMeans << " " << steps;
            EXPECT_EQ(scene.channel(1, 2, 0), scene.alpha(1, 2)) << "white, multiplied by the coverage";
        }
    }
}

/// Draws balls with a table that is opaque for distances from the centre between two radii.
/// @return the mean difference from the integral, in 255ths.
double meanError(Scene& scene, double inner, double outer, int steps, bool usesMeans) {
    constexpr double kOpacity = 2 / 255.0;
    constexpr float kFar = 60000; // the value at a distance of 1
    const auto edge = [&](double radius) { return static_cast<float>(radius) * kFar; };
    scene.setVolume({64, 64, 64}, [&](double x, double y, double z) {
        return kFar * std::sqrt((x - .5) * (x - .5) + (y - .5) * (y - .5) + (z - .5) * (z - .5));
    });
    scene.setMaterial(kWhite,
                      {{0, inner > 0 ? 0.0f : 2 / 255.0f},
                       {edge(inner), inner > 0 ? 0.0f : 2 / 255.0f},
                       {edge(inner) + 1, 2 / 255.0f},
                       {edge(outer), 2 / 255.0f},
                       {edge(outer) + 1, 0},
                       {kFar, 0}},
                      1024);
    scene.actor->setUsingPreintegration(usesMeans).setStepCount(steps);
    const Image& image = scene.drawVolume();
    double sum = 0;
    for (int y = 0; y < image.getHeight(); ++y) {
        for (int x = 0; x < image.getWidth(); ++x) {
            const double u = (x + 0.5) / image.getWidth() - 0.5, v = (y + 0.5) / image.getHeight() - 0.5;
            const auto chord = [&](double radius) {
                return 2 * std::sqrt(std::max(radius * radius - u * u - v * v, 0.0));
            };
            const double length = chord(outer) - chord(inner);
            sum += std::fabs(scene.alpha(x, y) - 255 * (1 - std::pow(1 - kOpacity, length / kUnit)));
        }
    }
    return sum / (image.getWidth() * image.getHeight());
}

TEST(VolumeIntegralTest, BallsAndShellsConvergeToTheirIntegrals) {
    Scene scene({24, 24});
    for (const double inner : {0.0, 0.3}) {
        for (const bool usesMeans : {false, true}) {
            SCOPED_TRACE(std::to_string(inner) + (usesMeans ? " means" : " values"));
            const double coarse = meanError(scene, inner, 0.4, 16, usesMeans);
            const double fine = meanError(scene, inner, 0.4, 512, usesMeans);
            EXPECT_LT(fine, 1.0);
            EXPECT_LT(fine, coarse);
        }
    }
}

TEST(VolumeIntegralTest, TheNumberOfStepsIsLimited) {
    Scene scene({4, 4});
    makeRamp(scene);
    for (const auto& [steps, same] : {std::pair(0, 1), {-5, 1}, {std::numeric_limits<int>::max(), 16384}}) {
        scene.actor->setStepCount(same);
        scene.drawVolume();
        const std::vector<uint8> expected = scene.bytes();
        scene.actor->setStepCount(steps);
        scene.drawVolume();
        EXPECT_EQ(scene.bytes(), expected) << steps;
    }
}

/// A volume with everything that the switches of actors affect.
void makeBlobs(Scene& scene) {
    scene.setVolume({45, 38, 51}, [](double x, double y, double z) {
        const double blobs = std::sin(9 * x) * std::sin(8 * y + 1) * std::sin(7 * z + 2);
        return blobs > 0.2 ? 40000 * blobs : 0;
    });
    scene.setMaterial({{0, {1, 0, 0}}, {20000, {0.2f, 1, 0.3f}}, {40000, {0, 0.4f, 1}}},
                      {{0, 0}, {9000, 0}, {12000, 0.02f}, {30000, 0.3f}, {40000, 1}}, 128,
                      {{0, 0.2f}, {4000, 1}});
    scene.lookFrom({1.9f, 1.3f, -0.8f});
}

/// Sets the switches of the actor by the bits of a number below 32.
void setSwitches(VolumeActor& actor, int bits) {
    actor.setUsingPreintegration((bits & 1) != 0)
        .setUsingGradientMultiplier((bits & 2) != 0)
        .setUsingLocalOcclusion((bits & 4) != 0)
        .setUsingGlobalOcclusion((bits & 8) != 0)
        .setVolumeGradientCalculation((bits & 16) != 0 ? VolumeGradientCalculation::Sobel
                                                       : VolumeGradientCalculation::CentralDifference)
        .setStepCount(100);
}

class VolumeSwitchesTest : public ::testing::Test {
protected:
    void TearDown() override {
        seams::setBrickSkipping(true);
        seams::setProcessorCount(0);
    }
    Scene scene{{40, 40}};
    Scene small{{16, 16}};
};

TEST_F(VolumeSwitchesTest, SkippingChangesNoByte) {
    makeBlobs(small);
    for (int bits = 0; bits < 32; ++bits) {
        setSwitches(*small.actor, bits);
        seams::setBrickSkipping(false);
        small.drawVolume();
        const std::vector<uint8> all = small.bytes();
        seams::setBrickSkipping(true);
        small.drawVolume();
        EXPECT_EQ(small.bytes(), all) << bits;
    }
}

TEST_F(VolumeSwitchesTest, TheNumberOfThreadsChangesNoByte) {
    std::vector<uint8> single;
    for (const unsigned processors : {1u, 2u, 16u}) {
        seams::setProcessorCount(processors);
        ManualClock clock{1'000'000'000};
        Clock::install(&clock);
        System::initialize({});
        {
            Scene threaded({70, 66});
            makeBlobs(threaded);
            setSwitches(*threaded.actor, 15);
            const SmartPointer<Mesh> box = threaded.renderer->createMesh();
            box->createBox(0.1, 0.3, 0.2, 0.9, 0.4, 0.6);
            threaded.draw([&] {
                threaded.actor->onRender(threaded.renderer.get());
                threaded.addMesh(*box, {1, 1, 0, 1});
            });
            if (single.empty()) single = threaded.bytes();
            EXPECT_EQ(threaded.bytes(), single) << processors;
        }
        System::deinitialize();
        Clock::install(nullptr);
    }
}

TEST_F(VolumeSwitchesTest, OcclusionDarkensColoursOnly) {
    makeBlobs(scene);
    setSwitches(*scene.actor, 3);
    scene.drawVolume();
    const std::vector<uint8> plain = scene.bytes();
    for (const int occlusion : {4, 8, 12}) {
        setSwitches(*scene.actor, 3 + occlusion);
        scene.drawVolume();
        const std::vector<uint8> darker = scene.bytes();
        EXPECT_NE(darker, plain);
        for (size_t i = 0; i < plain.size(); ++i) {
            if (i % 4 == 3)
                ASSERT_EQ(darker[i], plain[i]) << i;
            else
                ASSERT_LE(darker[i], plain[i]) << i;
        }
    }
}

TEST_F(VolumeSwitchesTest, GradientsWeighTheOpacity) {
    // In a ramp of 1000 per voxel, on an axis with twice the spacing of the others.
    small.actor->setStepCount(100);
    small.setVolume({8, 8, 16}, [](double, double, double z) { return 1000 + 1000 * 16 * z; });
    small.actor->setModelMatrix({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1});
    small.renderer->setProjectionMatrix({2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0.5f, 0, -1, -1, -1, 1});
    const auto alphaWith = [&](float magnitude) {
        small.setMaterial(kWhite, {{0, 1 / 255.0f}, {30000, 1 / 255.0f}}, 64,
                          {{0, 0}, {magnitude - 1, 0}, {magnitude, 1}, {30000, 1}});
        small.drawVolume();
        return small.alpha(9, 9);
    };
    for (const bool usesMeans : {false, true}) {
        for (const auto gradient :
             {VolumeGradientCalculation::CentralDifference, VolumeGradientCalculation::Sobel}) {
            small.actor->setUsingPreintegration(usesMeans).setVolumeGradientCalculation(gradient);
            EXPECT_GT(alphaWith(30), 200) << "a magnitude of 500 exceeds 30";
            EXPECT_EQ(alphaWith(2000), 0) << "and is below 2000";
        }
    }
}

TEST_F(VolumeSwitchesTest, UnclassifiedVolumesShowTheirMaximum) {
    scene.setVolume({16, 16, 16},
                    [](double x, double, double z) { return z > 0.4 && z < 0.6 ? 255 * x : 0; });
    scene.actor->setUsingClassified(false).setLookupScaleBias({1 / 255.0f, 0});
    scene.drawVolume();
    EXPECT_EQ(scene.alpha(3, 3), 255);
    EXPECT_NEAR(scene.channel(10, 5, 0), 255 * 10.5 / 40, 2);
    EXPECT_EQ(scene.channel(10, 5, 0), scene.channel(10, 5, 2));
}

TEST_F(VolumeSwitchesTest, TintMultipliesColourAndCoverage) {
    scene.setVolume({2, 2, 2}, [](double, double, double) { return 1; });
    scene.setMaterial(kWhite, {{0, 1}}, 4);
    scene.renderer->pushColor({1, 0.5f, 0, 0.5f});
    scene.drawVolume();
    EXPECT_EQ(scene.channel(5, 5, 2), 128);
    EXPECT_EQ(scene.channel(5, 5, 1), 64);
    EXPECT_EQ(scene.channel(5, 5, 0), 0);
    EXPECT_EQ(scene.alpha(5, 5), 128);
    scene.renderer->pushColor({1, 1, 1, 0.003f});
    scene.drawVolume();
    EXPECT_EQ(scene.alpha(5, 5), 0) << "too faint to be drawn";
}

TEST_F(VolumeSwitchesTest, PlanesAndBoxesCut) {
    makeBlobs(scene);
    scene.renderer->setClipBox({0.5f, 0, 0}, {1, 0.75f, 1});
    scene.drawVolume();
    const std::vector<uint8> box = scene.bytes();
    scene.renderer->setClipBox({0, 0, 0}, {1, 1, 1});
    scene.drawVolume();
    EXPECT_NE(scene.bytes(), box);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    scene.renderer->setClipPlanes({{1, 0, 0, -0.5f}, {0, -1, 0, 0.75f}, {nan, 0, 0, 1}, {0, 0, 0, 1}});
    scene.drawVolume();
    EXPECT_EQ(scene.bytes(), box);
    scene.renderer->setClipPlanes({{0, 0, 0, -1}});
    scene.drawVolume();
    EXPECT_EQ(scene.bytes(), std::vector<uint8>(box.size())) << "a plane that keeps nothing";
}

TEST_F(VolumeSwitchesTest, ADirectionIsOnItsSide) {
    // The eye on the side of -z sees +x on the right and +y at the top.
    scene.setVolume({8, 8, 8}, [](double x, double y, double) { return x > 0.5 && y > 0.5 ? 9 : 0; });
    scene.setMaterial(kWhite, {{0, 0}, {9, 1}}, 16);
    scene.lookFrom({0.5f, 0.5f, -2});
    scene.drawVolume();
    EXPECT_GT(scene.alpha(26, 12), 200);
    EXPECT_EQ(scene.alpha(12, 12), 0);
    EXPECT_EQ(scene.alpha(26, 26), 0);
}

TEST_F(VolumeSwitchesTest, WhatCannotBeDrawnDrawsNothing) {
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    const std::pair<const char*, std::function<void(Scene&)>> cases[] = {
        {"no table",
         [](Scene& s) {
             s.actor->setColorAlphaLookupTexture(nullptr).setColorAlphaPreintegrationTexture(nullptr);
         }},
        {"singular model", [](Scene& s) { s.actor->setModelMatrix(Float4x4::Null()); }},
        {"NaN model", [=](Scene& s) { s.actor->setModelMatrix(Float4x4(nan)); }},
        {"infinite view", [=](Scene& s) { s.renderer->setViewMatrix(Float4x4(inf)); }},
        {"empty viewport",
         [](Scene& s) {
             s.renderer->setViewport3D({5, 5, 5, 9});
         }},
        {"far viewport",
         [](Scene& s) {
             s.renderer->setViewport3D({-2147483647, 0, 2147483647, 9});
         }},
        {"NaN tint",
         [=](Scene& s) {
             s.renderer->replaceColor({nan, 1, 1, 1});
         }},
        {"empty box",
         [](Scene& s) {
             s.renderer->setClipBox({0.6f, 0, 0}, {0.5f, 1, 1});
         }},
        {"everything clipped",
         [](Scene& s) {
             s.renderer->setClipBox({2, 2, 2}, {3, 3, 3});
         }},
        {"texture without voxels",
         [](Scene& s) {
             s.texture->initialize(UInt16, {0, 5, 5});
         }},
    };
    for (const auto& [name, spoil] : cases) {
        SCOPED_TRACE(name);
        Scene fresh;
        makeBlobs(fresh);
        spoil(fresh);
        fresh.drawVolume();
        EXPECT_EQ(fresh.bytes(), std::vector<uint8>(fresh.target->getByteSize()));
    }
}

TEST_F(VolumeSwitchesTest, AVolumeWithoutAPlaceDoesNotChangeTheOrder) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    makeBlobs(scene);
    std::vector<SmartPointer<VolumeActor>> actors;
    for (const float z : {0.0f, 0.3f, nan, 0.1f}) {
        actors.push_back(makeObject<VolumeActor>(*scene.actor));
        actors.back()->setModelMatrix(Float4x4::Translation({0, 0, z}));
    }
    const auto drawOrder = [&](std::initializer_list<int> order) {
        scene.draw([&] {
            for (const int i : order) actors[static_cast<size_t>(i)]->onRender(scene.renderer.get());
        });
        return scene.bytes();
    };
    const auto expected = drawOrder({0, 1, 3});
    EXPECT_EQ(drawOrder({0, 1, 2, 3}), expected);
    EXPECT_EQ(drawOrder({3, 2, 0, 1}), expected);
}

TEST_F(VolumeSwitchesTest, CoordinatesThatAreNotFiniteAreTheMiddle) {
    scene.setVolume({4, 4, 4}, [](double x, double, double) { return 1000 * x; });
    scene.setMaterial(kWhite, {{5, 1}}, 4); // scale and bias are not finite: all keys are equal
    for (const bool usesMeans : {false, true}) {
        scene.actor->setUsingPreintegration(usesMeans);
        scene.drawVolume();
        EXPECT_EQ(scene.alpha(20, 20), 255) << usesMeans;
    }
}

TEST_F(VolumeSwitchesTest, VoxelsAreMixedAndRepeatedAtTheEdges) {
    // Four voxels, whose centres are 10 of 40 pixels apart.
    scene.setVolume({4, 4, 4}, [](double x, double, double) { return 255 * x; });
    scene.actor->setUsingClassified(false).setLookupScaleBias({1 / 255.0f, 0});
    scene.drawVolume();
    EXPECT_EQ(scene.channel(0, 16, 0), 32);
    EXPECT_EQ(scene.channel(4, 16, 0), 32);
    EXPECT_GT(scene.channel(8, 16, 0), 32);
    scene.texture->setFilter(Filter::Nearest);
    scene.drawVolume();
    EXPECT_EQ(scene.channel(9, 16, 0), 32);
    EXPECT_EQ(scene.channel(10, 16, 0), scene.channel(19, 16, 0));
}

TEST_F(VolumeSwitchesTest, GradientsAtACutAreThoseOfTheWholeVolume) {
    // The cut lies where the volume is even: without what was cut off, the gradient would be large.
    scene.setVolume({16, 16, 16}, [](double, double, double) { return 40000; });
    scene.setMaterial(kWhite, {{0, 0}, {40000, 3 / 255.0f}}, 64, {{0, 0}, {1000, 1}});
    scene.renderer->setClipPlanes({{0, 0, 1, -0.5f}});
    scene.drawVolume();
    EXPECT_EQ(scene.bytes(), std::vector<uint8>(scene.target->getByteSize())) << "no gradient, no opacity";
}

TEST_F(VolumeSwitchesTest, ClearingDropsVolumesThatWaitForMeshes) {
    makeBlobs(scene);
    scene.draw([this] {
        scene.actor->onRender(scene.renderer.get());
        scene.renderer->clear({0, 0, 0, 0});
    });
    EXPECT_EQ(scene.bytes(), std::vector<uint8>(scene.target->getByteSize()));
}

TEST_F(VolumeSwitchesTest, TablesOfPastFramesAreReleased) {
    std::vector<SmartPointer<VolumeActor>> actors;
    std::vector<SmartPointer<Image>> images;
    scene.setVolume({4, 4, 4}, [](double x, double, double) { return 40000 * x; });
    for (int i = 1; i <= 40; ++i) {
        scene.setMaterial(kWhite, {{0, 0.02f * static_cast<float>(i)}}, 4);
        auto& table = static_cast<TextureSoftware&>(*scene.actor->getColorAlphaLookupTexture());
        images.push_back(table.getSharedImage());
        actors.push_back(makeObject<VolumeActor>(*scene.actor));
    }
    scene.draw([&] {
        for (const auto& actor : actors) actor->onRender(scene.renderer.get());
    });
    actors.clear();
    scene.setMaterial(kWhite, {{0, 1}}, 4);
    scene.drawVolume();
    const auto isHeld = [](const auto& image) { return image->getReferenceCount() > 1; };
    EXPECT_LE(std::count_if(images.begin(), images.end(), isHeld), 16);
}

} // namespace
} // namespace qel
