#include <tests/support/system_fixture.h>

#include <qel/scene/actors/anim_color.h>

#include <cmath>

namespace qel {
namespace {

constexpr IVec4<float> kBlack(0, 0, 0, 1);

class AnimColorTest : public test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        system().delegateRequestFrame.connect([this] { ++requestedFrames; });
        color.enableAnimation();
    }
    /// Runs frames of 16 ms in which the colour is read once.
    void runFrames(int count) {
        for (int i = 0; i < count; ++i) {
            passAfter(16);
            color.getColor();
        }
    }

    AnimColor color;
    int requestedFrames = 0;
};

TEST_F(AnimColorTest, AnAnimationStartsWithThePassAfterTheChange) {
    color.setColor(kBlack);
    EXPECT_FALSE(color.isAnimating());
    passAfter(16);
    EXPECT_TRUE(color.isAnimating());
    EXPECT_FALSE(system().isLowPowerModeApplicable());
    EXPECT_EQ(requestedFrames, 1);
    passAfter(16);
    EXPECT_EQ(requestedFrames, 1) << "while it moves, reading it keeps the frames coming";
}

TEST_F(AnimColorTest, TwoReadsInOnePassStepOnce) {
    color.setColor(kBlack);
    runFrames(1);
    const float first = color.getColor().x;
    EXPECT_NEAR(first, std::pow(0.85, 16 * 0.06), 1e-5);
    EXPECT_EQ(color.getColor().x, first);
    runFrames(1);
    EXPECT_NEAR(color.getColor().x, std::pow(0.85, 2 * 16 * 0.06), 1e-5);
}

TEST_F(AnimColorTest, AColorThatArrivesStopsAskingForFrames) {
    color.setColor(kBlack);
    runFrames(60);
    EXPECT_FALSE(color.isAnimating());
    EXPECT_EQ(color.getColor(), kBlack);
    runFrames(100);
    EXPECT_TRUE(system().isLowPowerModeApplicable());
}

TEST_F(AnimColorTest, SkippingArrivesAtOnce) {
    color.setAlpha(0);
    passAfter(16);
    color.skipAnimation();
    EXPECT_EQ(color.getAlpha(), 0);
    EXPECT_FALSE(color.isAnimating());
}

TEST_F(AnimColorTest, AFadeReportsTheOpacityAtEachStepAndTheVisibilityOnce) {
    color.setAlpha(0);
    EXPECT_TRUE(color.wantsHidden());
    EXPECT_TRUE(color.isOpaque());
    passAfter(16);
    int visibilityChanges = 0;
    for (int i = 0; i < 30; ++i) {
        passAfter(16);
        const uint32 mask = color.queryGadgetNotificationMask();
        if (color.isVisible()) {
            EXPECT_EQ(mask, AnimColor::kOpacityChanged) << i;
        }
        visibilityChanges += (mask & AnimColor::kVisibilityChanged) != 0;
    }
    runFrames(60);
    visibilityChanges += (color.queryGadgetNotificationMask() & AnimColor::kVisibilityChanged) != 0;
    EXPECT_EQ(visibilityChanges, 1);
}

TEST_F(AnimColorTest, ColorsOfAnySizeArrive) {
    for (const float value : {NAN, INFINITY, -INFINITY, 1e30f, -1e20f, 12345.678f}) {
        color.setColor({value, 0, 0, 1});
        runFrames(1000);
        EXPECT_FALSE(color.isAnimating()) << value;
    }
    color.setColor(kBlack);
    runFrames(1000);
    EXPECT_EQ(color.getColor(), kBlack);
}

} // namespace
} // namespace qel
