// Random frames: every way to draw them has the same result, and nothing is written outside the clip.
#include <tests/render/random_drawing.h>
#include <tests/support/system_fixture.h>

#include <qel/testing/machine.h>
#include <qel/testing/simd.h>

namespace qel {
namespace {

using test::DrawnFrame;
using test::SeededNumbers;
using Drawing = test::RandomDrawing<SeededNumbers>;

constexpr uint32 kFrames = 600;
constexpr int kNumbersPerFrame = 200; // a few operations, so that later ones hide little

/// Some frames are drawn by several threads, so they need a System.
class RandomFrames : public test::SystemFixture {
protected:
    void TearDown() override {
        seams::setSimdTarget("");
        SystemFixture::TearDown();
    }

    /// Returns the seed of the first frame that is drawn differently; kFrames if all are equal.
    static uint32 firstDifference(seams::DrawingMode mode) {
        for (uint32 seed = 0; seed < kFrames; ++seed)
            if (Drawing::frame(numbers(seed), mode).memory != plainFrame(seed).memory) return seed;
        return kFrames;
    }
    static SeededNumbers numbers(uint32 seed) { return {seed * 7919 + 1, kNumbersPerFrame}; }
    static const DrawnFrame& plainFrame(uint32 seed) {
        static std::vector<DrawnFrame> frames;
        while (frames.size() <= seed)
            frames.push_back(
                Drawing::frame(numbers(static_cast<uint32>(frames.size())), seams::DrawingMode::Plain));
        return frames[seed];
    }
};

TEST_F(RandomFrames, StayInsideTheClip) {
    for (uint32 seed = 0; seed < kFrames; ++seed) EXPECT_EQ(plainFrame(seed).strayBytes(), 0u) << seed;
}

TEST_F(RandomFrames, AreTheSameOnEveryVectorTarget) {
    for (const std::string& target : seams::simdTargets()) {
        ASSERT_TRUE(seams::setSimdTarget(target));
        EXPECT_EQ(firstDifference(seams::DrawingMode::Inline), kFrames) << target;
    }
}

/// The parameter is the number of processors that System finds.
class RandomFramesInBands : public RandomFrames, public testing::WithParamInterface<unsigned> {
protected:
    void SetUp() override {
        seams::setProcessorCount(GetParam());
        RandomFrames::SetUp();
    }
    void TearDown() override {
        RandomFrames::TearDown();
        seams::setProcessorCount(0);
    }
};

TEST_P(RandomFramesInBands, AreTheSame) {
    EXPECT_EQ(firstDifference(seams::DrawingMode::Banded), kFrames);
}

INSTANTIATE_TEST_SUITE_P(Processors, RandomFramesInBands, testing::Values(1, 2, 16));

} // namespace
} // namespace qel
