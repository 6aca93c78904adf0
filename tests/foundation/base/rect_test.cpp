#include <qel/foundation/base/rect.h>

#include <gtest/gtest.h>

#include <cmath>

using qel::Rect;

TEST(Rect, IsEmptyUnlessBothSidesArePositive) {
    EXPECT_FALSE(Rect(0, 0, 1, 1).isEmpty());
    EXPECT_TRUE(Rect(1, 0, 1, 5).isEmpty());
    EXPECT_TRUE(Rect(0, 2, 5, 1).isEmpty());
    EXPECT_TRUE(Rect(0, 0, NAN, 1).isEmpty());
}

TEST(Rect, RoundsEdgesHalfAwayFromZero) {
    EXPECT_EQ(Rect(0.5f, -0.5f, 1.49f, -2.5f).roundNearestAsInt(), qel::IVec4<int>(1, -1, 1, -3));
    EXPECT_EQ(Rect(0.49999997f, -0.49999997f, 8388609.0f, -7.0f).roundNearestAsInt(),
              qel::IVec4<int>(0, 0, 8388609, -7));
}

TEST(Rect, RoundingSaturatesAtTwoToTheThirty) {
    constexpr int kLimit = 1 << 30;
    EXPECT_EQ(Rect(-3e9f, 3e9f, -INFINITY, INFINITY).roundNearestAsInt(),
              qel::IVec4<int>(-kLimit, kLimit, -kLimit, kLimit));
    EXPECT_EQ(Rect(NAN, 0, 0, 0).roundNearestAsInt().x, 0);
}

TEST(IVec, AnIndexNamesAComponent) {
    qel::IVec4<int> v(1, 2, 3, 4);
    v[1] = 7;
    EXPECT_EQ(v, qel::IVec4<int>(1, 7, 3, 4));
    EXPECT_EQ((qel::IVec2<int>(5, 6)[1]), 6);
    EXPECT_EQ((qel::IVec3<int>(5, 6, 8)[2]), 8);
    EXPECT_EQ(v[99], 4) << "an index beyond the end means the last component";
}
