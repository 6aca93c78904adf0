#include <qel/volume/curve.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace qel {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

TEST(CurveTest, ConnectsItsValuesByLines) {
    const Curve<float> curve{{-1, 4}, {1, 8}, {2, 0}};
    const std::pair<float, float> cases[] = {{-kInf, 4}, {-2, 4},    {-1, 4}, {-0.5f, 5}, {0, 6},
                                             {1, 8},     {1.25f, 6}, {2, 0},  {3, 0},     {kInf, 0}};
    for (const auto& [x, y] : cases) EXPECT_EQ(curve.evaluate(x), y) << x;
}

TEST(CurveTest, MixesComponents) {
    const Curve<IVec3<float>> curve{{0, {0, 1, 2}}, {4, {4, 1, 0}}};
    EXPECT_EQ(curve.evaluate(1), IVec3<float>(1, 1, 1.5f));
}

TEST(CurveTest, OneKeyIsAConstant) {
    const Curve<float> curve{{3, 7}};
    for (const float x : {-1.0f, 3.0f, 5.0f, kNan}) EXPECT_EQ(curve.evaluate(x), 7) << x;
    EXPECT_EQ(Curve<float>().evaluate(1), 0) << "without a key";
}

TEST(CurveTest, NumbersThatAreNotFiniteAreSafe) {
    EXPECT_EQ((Curve<float>{{1, 5}, {2, 6}}).evaluate(kNan), 5) << "the first value";
    EXPECT_TRUE(std::isnan((Curve<float>{{-kInf, 5}, {kInf, 6}}).evaluate(0)));
    for (const float first : {kNan, -kInf, 0.0f}) {
        for (const float second : {kNan, kInf, 1.0f}) {
            Curve<float> curve;
            curve.insert_or_assign(first, 1.0f);
            curve.insert_or_assign(second, 2.0f);
            curve.insert_or_assign(0.5f, 3.0f);
            for (const float x : {kNan, -kInf, 0.0f, 0.25f, 0.75f, kInf}) {
                const float y = curve.evaluate(x);
                if (std::isnan(y)) continue;
                EXPECT_GE(y, 1) << first << " " << second << " " << x;
                EXPECT_LE(y, 3) << first << " " << second << " " << x;
            }
        }
    }
}

} // namespace
} // namespace qel
