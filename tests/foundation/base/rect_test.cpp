#include <qel/foundation/base/rect.h>

#include <gtest/gtest.h>

#include <cmath>

using qel::Rect;

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
