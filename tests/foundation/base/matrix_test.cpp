#include <qel/foundation/base/matrix.h>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace qel {
namespace {

constexpr double kQuarter = std::numbers::pi / 2;

template <typename M>
void expectNear(const M& actual, const M& expected, int size, double tolerance) {
    for (int r = 0; r < size; ++r)
        for (int c = 0; c < size; ++c) EXPECT_NEAR(actual[r][c], expected[r][c], tolerance) << r << "," << c;
}

void expectNear(const IVec3<double>& actual, const IVec3<double>& expected) {
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(actual[i], expected[i], 1e-12) << i;
}

TEST(Matrix, TransformAppliesAProductFromTheLeft) {
    const Double4x4 move = Double4x4::Translation({1, 2, 3});
    const Double4x4 scale = Double4x4::Scaling({10, 10, 10});
    const IVec3<double> origin;
    EXPECT_EQ(move.multiply(scale).transform(origin), IVec3<double>(10, 20, 30));
    EXPECT_EQ(scale.multiply(move).transform(origin), IVec3<double>(1, 2, 3));
    EXPECT_EQ(move.transform(IVec4<double>(0, 0, 0, 0)), IVec4<double>()) << "directions do not move";
    EXPECT_EQ(move.transform3x3({4, 5, 6}), IVec3<double>(4, 5, 6));
}

TEST(Matrix, APositiveAngleAboutZTurnsXTowardsNegativeY) {
    expectNear(Double4x4::Rotation({0, 0, 1}, kQuarter).transform(IVec3<double>(1, 0, 0)), {0, -1, 0});
    expectNear(Double4x4::Rotation2D(kQuarter).transform(IVec3<double>(0, 1, 0)), {1, 0, 0});
    const double half = std::sin(kQuarter / 2);
    const IVec3<double> axis(0.6, 0, 0.8);
    expectNear(Double4x4::FromQuaternion({axis.x * half, axis.y * half, axis.z * half, half}),
               Double4x4::Rotation(axis, kQuarter), 4, 1e-12);
}

TEST(Matrix, ACalibrationMatrixSetsTheFocalLengthAndTheCentre) {
    const Float3x3 k(800, 0, 300, 0, 600, 260, 0, 0, 1);
    const Float4x4 projection = Float4x4::FromCalibrationMatrix(k, 640, 480, 1, 3);
    EXPECT_EQ(projection[0], IVec4<float>(2.5f, 0, 0, 0));
    EXPECT_EQ(projection[1], IVec4<float>(0, 2.5f, 0, 0));
    EXPECT_EQ(projection[2], IVec4<float>(IVec4<double>(1 - 600.0 / 640, 520.0 / 480 - 1, 2, 1)));
    EXPECT_EQ(projection[3], IVec4<float>(0, 0, -3, 0));
}

TEST(Matrix, TheInverseUndoesTheMatrix) {
    const Double4x4 m(2, 1, 0, 3, -1, 4, 2, 0, 5, 0, 1, 1, 0, 2, -3, 4);
    expectNear(m.multiply(m.inverse()), Double4x4::Identity(), 4, 1e-12);
    const Float3x3 small(2, 0, 1, 1, 3, 0, 0, 1, 4);
    EXPECT_EQ(small.determinant(), 25);
    expectNear(small.multiply(small.inverse()), Float3x3::Identity(), 3, 1e-6);
}

TEST(Matrix, ASingularMatrixHasTheInverseZero) {
    EXPECT_EQ(Double3x3(1, 2, 3, 4, 5, 6, 7, 8, 9).inverse(), Double3x3(0));
    EXPECT_EQ(Float4x4::Null().inverse(), Float4x4::Null());
    EXPECT_EQ(Double4x4(NAN).inverse(), Double4x4::Null());
}

TEST(Matrix, ARigidMotionComesApartIntoItsAngles) {
    const IVec3<double> angles(20, -50, 130);
    Double4x4 m;
    m.composeRigidMatrix({1, 2, 3}, angles);
    IVec3<double> translation;
    IVec3<double> rotation;
    m.decomposeRigidMatrix(translation, rotation);
    EXPECT_EQ(translation, IVec3<double>(1, 2, 3));
    expectNear(rotation, angles);
    m.composeRigidMatrix({}, {0, 90, 40});
    m.decomposeRigidMatrix(translation, rotation);
    expectNear(rotation, {0, 90, 40});
    m.composeRigidMatrix({}, {0, -90, 40});
    m.decomposeRigidMatrix(translation, rotation);
    EXPECT_EQ(rotation.y, -90);
    EXPECT_EQ(rotation.x, 0);
}

TEST(Matrix, AnyIndexStaysInsideTheMatrix) {
    Float3x3 m(1, 2, 3, 4, 5, 6, 7, 8, 9);
    EXPECT_EQ(m[3], m[2]);
    EXPECT_EQ(m.row(-1), m[2]);
    EXPECT_EQ(m.col(17), m.col(2));
}

} // namespace
} // namespace qel
