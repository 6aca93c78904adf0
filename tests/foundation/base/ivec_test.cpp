#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/rect.h>

#include <gtest/gtest.h>

#include <limits>

using namespace qel;

TEST(IVec, ConvertsComponentsAsACastDoes) {
    EXPECT_EQ(IVec2<int>(IVec2<float>(1.9f, -1.9f)), IVec2<int>(1, -1));
    EXPECT_EQ(IVec3<unsigned char>(IVec3<int>(1, 2, 257)), IVec3<unsigned char>(1, 2, 1));
    EXPECT_EQ(IVec4<float>(IVec4<int>(1, 2, 3, 4)), IVec4<float>(1, 2, 3, 4));
}

TEST(Rect, IsEmptyUnlessTheFarEdgesLieBeyondTheNearOnes) {
    EXPECT_FALSE(Rect(0, 0, 1, 1).isEmpty());
    for (const Rect& empty : {Rect(), Rect(1, 0, 1, 5), Rect(0, 2, 5, 1),
                              Rect(0, 0, std::numeric_limits<float>::quiet_NaN(), 1)}) {
        EXPECT_TRUE(empty.isEmpty());
    }
}
