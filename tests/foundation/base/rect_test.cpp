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
