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

TEST(CurveTest, OneKeyIsAConstant) {
    EXPECT_EQ((Curve<float>{{3, 7}}).evaluate(5), 7);
    EXPECT_EQ(Curve<float>().evaluate(1), 0) << "without a key";
}

TEST(CurveTest, NumbersThatAreNotFiniteAreSafe) {
    EXPECT_EQ((Curve<float>{{1, 5}, {2, 6}}).evaluate(kNan), 5) << "the first value";
    EXPECT_TRUE(std::isnan((Curve<float>{{-kInf, 5}, {kInf, 6}}).evaluate(0)));
}

} // namespace
} // namespace qel
