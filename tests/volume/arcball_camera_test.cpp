#include <qel/volume/arcball_camera.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace qel {
namespace {

TEST(ArcballCamera, TheViewIsLookAtFromEveryDistance) {
    ArcballCamera camera;
    const float angle = 0.5f;
    camera.rotateX(angle);
    EXPECT_NEAR(camera.getDirection().x, -std::sin(angle), 1e-6f);
    camera.rotateY(angle);
    EXPECT_NEAR(camera.getDirection().y, std::sin(angle), 1e-6f);
    EXPECT_NEAR(camera.getUp().y, std::cos(angle), 1e-6f);
    for (const float distance : {0.001f, 1.0f, 250.0f}) {
        camera.setDistance(distance);
        const IVec3<float>& d = camera.getDirection();
        const Float4x4 expected =
            Float4x4::LookAt({d.x * distance, d.y * distance, d.z * distance}, {}, camera.getUp());
        for (int i = 0; i < 16; ++i)
            EXPECT_NEAR(camera.getViewMatrix().data()[i], expected.data()[i], 1e-6f * distance + 1e-6f) << i;
    }
}

TEST(ArcballCamera, AThousandTurnsDoNotTiltIt) {
    ArcballCamera camera;
    for (int i = 0; i < 1000; ++i) {
        camera.rotateX(0.37f);
        camera.rotateY(0.11f);
    }
    const IVec3<float>& d = camera.getDirection();
    const IVec3<float>& u = camera.getUp();
    EXPECT_NEAR(d.x * u.x + d.y * u.y + d.z * u.z, 0, 1e-5f);
    EXPECT_NEAR(u.x * u.x + u.y * u.y + u.z * u.z, 1, 1e-5f);
}

TEST(ArcballCamera, TheDistanceStaysWithinItsLimits) {
    ArcballCamera camera;
    camera.setMinMaxDistance(5, 10);
    EXPECT_EQ(camera.getDistance(), 5);
    camera.zoom(100);
    EXPECT_EQ(camera.getDistance(), 10);
    camera.zoom(-1);
    EXPECT_EQ(camera.getDistance(), 9);
    camera.reset();
    EXPECT_EQ(camera.getDistance(), 1) << "reset keeps the limits, but not the distance";
}

TEST(ArcballCamera, ArgumentsThatAreNoNumbersAreIgnored) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    ArcballCamera camera;
    camera.rotateX(nan);
    camera.rotateY(INFINITY);
    camera.zoom(nan);
    camera.setDistance(nan);
    camera.setMinMaxDistance(nan, 3);
    camera.setPseudoMatrix(Float3x3(nan));
    EXPECT_EQ(camera.getViewMatrix(), ArcballCamera().getViewMatrix());
}

TEST(ArcballCamera, ThePseudoMatrixKeepsTheOrientation) {
    ArcballCamera camera;
    camera.rotateX(1);
    camera.rotateY(2);
    const Float3x3 state = camera.getPseudoMatrix();
    EXPECT_EQ(state.row(0), camera.getUp());
    EXPECT_EQ(state.row(1), camera.getDirection());
    ArcballCamera other;
    other.setPseudoMatrix(state);
    EXPECT_EQ(other.getViewMatrix(), camera.getViewMatrix());
}

} // namespace
} // namespace qel
