#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/rect.h>

#include <gtest/gtest.h>

#include <limits>

using namespace qel;

TEST(IVec, IsZeroUnlessToldOtherwise) {
    EXPECT_EQ(IVec2<int>(), IVec2<int>(0, 0));
    EXPECT_EQ(IVec3<float>(), IVec3<float>(0, 0, 0));
    EXPECT_EQ(IVec4<double>(), IVec4<double>(0, 0, 0, 0));
}

TEST(IVec, ComparesEveryComponent) {
    EXPECT_NE(IVec2<int>(1, 2), IVec2<int>(1, 3));
    EXPECT_NE(IVec3<int>(1, 2, 3), IVec3<int>(1, 2, 4));
    EXPECT_NE(IVec4<int>(1, 2, 3, 4), IVec4<int>(1, 2, 3, 5));
}

TEST(IVec, ConvertsComponentsAsACastDoes) {
    EXPECT_EQ(IVec2<int>(IVec2<float>(1.9f, -1.9f)), IVec2<int>(1, -1));
    EXPECT_EQ(IVec3<unsigned char>(IVec3<int>(1, 2, 257)), IVec3<unsigned char>(1, 2, 1));
    EXPECT_EQ(IVec4<float>(IVec4<int>(1, 2, 3, 4)), IVec4<float>(1, 2, 3, 4));
}

TEST(Rect, IsEmptyUnlessTheFarEdgesLieBeyondTheNearOnes) {
    EXPECT_TRUE(Rect().isEmpty());
    EXPECT_FALSE(Rect(0, 0, 1, 1).isEmpty());
    EXPECT_TRUE(Rect(1, 0, 1, 5).isEmpty());
    EXPECT_TRUE(Rect(0, 2, 5, 1).isEmpty());
    EXPECT_TRUE(Rect(0, 0, std::numeric_limits<float>::quiet_NaN(), 1).isEmpty());
}

TEST(Rect, GivesItsCornersAndExtent) {
    const Rect rect(1, 2, 4, 8);
    EXPECT_EQ(rect, Rect(rect.leftTop(), rect.rightBottom()));
    EXPECT_EQ(rect.leftTop(), IVec2<float>(1, 2));
    EXPECT_EQ(rect.rightBottom(), IVec2<float>(4, 8));
    EXPECT_EQ(rect.getWidth(), 3);
    EXPECT_EQ(rect.getHeight(), 6);
}
