// Pictures of volumes and meshes, which are the same on every processor.
#include <tests/components/software3d/scene.h>
#include <tests/support/picture_test.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace qel {
namespace {

/// A head of ellipsoids in a box, without transcendental functions.
void makeHead(test::Scene& scene) {
    struct Ellipsoid {
        double x, y, z, a, b, c, value;
    };
    static constexpr Ellipsoid kParts[] = {
        {.5, .5, .5, .36, .45, .42, 2000}, {.5, .51, .5, .3, .38, .35, -900},
        {.6, .5, .5, .06, .16, .12, -400}, {.4, .5, .5, .08, .2, .14, -400},
        {.5, .68, .5, .12, .1, .12, 500},  {.5, .35, .3, .05, .05, .05, 900}};
    scene.setVolume({48, 56, 40}, [](double x, double y, double z) {
        double sum = 0;
        for (const Ellipsoid& part : kParts) {
            const double u = (x - part.x) / part.a, v = (y - part.y) / part.b, w = (z - part.z) / part.c;
            if (u * u + v * v + w * w < 1) sum += part.value;
        }
        return std::max(sum, 0.0);
    });
    scene.setMaterial({{0, {0.6f, 0.2f, 0.1f}}, {1100, {0.9f, 0.5f, 0.4f}}, {2000, {1, 1, 0.9f}}},
                      {{0, 0}, {600, 0}, {1100, 0.02f}, {1700, 0.05f}, {2000, 0.5f}}, 128,
                      {{0, 0.3f}, {200, 1}});
}

class Software3DPictures : public ::testing::Test {
protected:
    Software3DPictures() {
        makeHead(scene);
        scene.lookFrom({1.4f, 1.1f, -0.9f});
        scene.actor->setStepCount(160);
    }
    void expectPicture(const char* name) {
        test::expectImage("tests/components/software3d/pictures.txt", name, *scene.target);
    }

    test::Scene scene{{72, 72}};
};

TEST_F(Software3DPictures, OfAVolumeByItsMeans) {
    scene.drawVolume();
    expectPicture("means");
}

TEST_F(Software3DPictures, OfAVolumeByItsValuesWithOcclusion) {
    scene.actor->setUsingPreintegration(false).setUsingLocalOcclusion(true).setUsingGlobalOcclusion(true);
    scene.drawVolume();
    expectPicture("occlusion");
}

TEST_F(Software3DPictures, OfACutVolumeWithSobelGradients) {
    scene.actor->setVolumeGradientCalculation(VolumeGradientCalculation::Sobel);
    scene.renderer->setClipPlanes({{-1, 0, 0, 0.55f}});
    scene.drawVolume();
    expectPicture("cut");
}

TEST_F(Software3DPictures, OfMeshesInAVolume) {
    const SmartPointer<Mesh> cylinder = scene.renderer->createMesh();
    cylinder->createCylinder(0.08, 1.2, 24, true);
    const SmartPointer<Mesh> box = scene.renderer->createMesh();
    box->createBox(0.2, 0.4, 0.1, 0.3, 0.0, 0.3);
    MeshActor rod;
    rod.setMesh(cylinder.get())
        .setColor({0.2f, 0.6f, 1, 1})
        .setModelMatrix(Float4x4::Translation({.5f, .5f, .5f}));
    scene.draw([&] {
        rod.onRender(scene.renderer.get());
        scene.actor->onRender(scene.renderer.get());
        scene.addMesh(*box, {1, 0.8f, 0.1f, 1});
    });
    expectPicture("meshes");
}

TEST_F(Software3DPictures, OfTheMaximum) {
    scene.actor->setUsingClassified(false).setLookupScaleBias({1 / 2500.0f, 0});
    scene.drawVolume();
    expectPicture("maximum");
}

} // namespace
} // namespace qel
