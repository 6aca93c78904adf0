#include <qel/foundation/base/rect.h>

#include <gtest/gtest.h>

#include <cmath>

using qel::Rect;

TEST(Rect, IsEmptyUnlessTheFarEdgesLieBeyondTheNearOnes) {
    EXPECT_FALSE(Rect(0, 0, 1, 1).isEmpty());
    for (const Rect& empty : {Rect(), Rect(1, 0, 1, 5), Rect(0, 2, 5, 1), Rect(0, 0, std::nanf(""), 1)})
        EXPECT_TRUE(empty.isEmpty());
}
