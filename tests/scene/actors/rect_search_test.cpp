#include <qel/scene/actors/rect_search.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace qel {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// A screen of 200 by 100 with a wide button in the middle, and a menu of 20 by 10.
class RectSearchTest : public ::testing::Test {
protected:
    RectSearchTest() {
        search.setScreenBounds({0, 0, 200, 100});
        search.setButton({80, 45, 120, 55});
        search.setSize({20, 10});
    }
    void expectFound(const Rect& rect, int score) {
        Rect found;
        EXPECT_TRUE(search.search(found));
        EXPECT_EQ(found, rect);
        EXPECT_EQ(search.getBestScore(), score);
    }
    void expectNothing() {
        Rect found(1, 2, 3, 4);
        EXPECT_FALSE(search.search(found));
        EXPECT_EQ(found, Rect(1, 2, 3, 4));
        EXPECT_EQ(search.getBestScore(), -1);
    }
    void avoid(const Rect& rect) { search.getAvoidRects().push_back(rect); }

    RectSearch search;
};

TEST_F(RectSearchTest, AWideButtonHasItsMenuAboveAndOthersBeside) {
    expectFound({90, 34, 110, 44}, 8);
    search.setPadding(5);
    expectFound({90, 30, 110, 40}, 8);
    search.setPadding(1);
    search.setButton({80, 40, 100, 60});
    expectFound({101, 45, 121, 55}, 8);
    search.setButton({95, 30, 105, 70});
    expectFound({106, 45, 126, 55}, 8);
}

TEST_F(RectSearchTest, AMiddlePlaceIsBetterThanAFlushOne) {
    avoid({0, 0, 200, 44});
    expectFound({90, 56, 110, 66}, 8);
    avoid({0, 60, 200, 61});
    expectFound({121, 45, 141, 55}, 7);
}

TEST_F(RectSearchTest, TouchingAnAvoidedRectangleIsTooNear) {
    avoid({110, 0, 112, 44});
    expectFound({90, 56, 110, 66}, 8);
    search.getAvoidRects() = {{110.01f, 0, 112, 44}};
    expectFound({90, 34, 110, 44}, 8);
    search.getAvoidRects() = {{kNaN, 0, 200, 100}};
    expectFound({90, 34, 110, 44}, 8);
}

TEST_F(RectSearchTest, TheWalkFindsWhatTheUsualPlacesMiss) {
    for (const float x : {85.0f, 100.0f, 115.0f}) avoid({x, 0, x, 44}); // two gaps of 15 above
    avoid({0, 45, 79, 100});
    avoid({80, 56, 200, 100});
    avoid({121, 45, 200, 55});
    search.setSize({13, 10});
    search.setStep(0.5f);
    expectFound({66, 34, 79, 44}, 4);
    avoid({66, 0, 84, 44});
    expectFound({85.5f, 34, 98.5f, 44}, 4);
}

TEST_F(RectSearchTest, WithoutRoomNothingIsFoundInTime) {
    for (const IVec2<float>& size : {IVec2<float>(300, 10), {kNaN, 10}}) {
        search.setSize(size);
        expectNothing();
    }
    search.setSize({20, 10});
    avoid({0, 0, 200, 100});
    for (const float step : {1e-30f, -1.0f, kNaN}) {
        search.setStep(step);
        expectNothing();
    }
    search.setButton({-INFINITY, -INFINITY, INFINITY, INFINITY});
    expectNothing();
}

// --- dropdown ---------------------------------------------------------------------------------------

TEST(RectSearchDropdownTest, PlacesBelowUnlessThereIsMoreRoomAbove) {
    const struct {
        const char* name;
        Rect area;
        int bias;
        Rect expected;
        bool isBelow;
    } cases[] = {
        {"below", {10, 20, 30, 30}, 0, {10, 32, 60, 72}, true},
        {"cut below", {10, 40, 30, 50}, 10, {10, 52, 60, 90}, true},
        {"above", {10, 80, 30, 86}, 0, {10, 38, 60, 78}, false},
        {"cut above", {10, 42, 30, 70}, 0, {10, 10, 60, 40}, false},
        {"the bias prefers below", {10, 42, 30, 70}, 12, {10, 72, 60, 90}, true},
        {"at the right edge", {170, 20, 190, 30}, 0, {150, 32, 200, 72}, true},
        {"no room at all", {10, 5, 30, 95}, 0, {10, 97, 60, 90}, true},
    };
    for (const auto& c : cases) {
        RectSearchDropdown search;
        search.setScreenBounds({0, 10, 200, 90});
        search.setAreaOfInterest(c.area);
        search.setPadding(2);
        search.setSize({50, 40});
        Rect found;
        EXPECT_TRUE(search.search(found, c.bias)) << c.name;
        EXPECT_EQ(found, c.expected) << c.name;
        EXPECT_EQ(search.isPlacedBelow(), c.isBelow) << c.name;
    }
}

} // namespace
} // namespace qel
