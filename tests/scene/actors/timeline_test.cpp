#include <qel/scene/actors/timeline.h>

#include <gtest/gtest.h>

#include <utility>

namespace qel {
namespace {

TEST(Timeline, AFrameLastsUntilTheNextStarts) {
    Timeline timeline;
    EXPECT_EQ(timeline.frameFromTime(0), -1);
    EXPECT_EQ(timeline.timeFromFrame(3), 0u);
    const unsigned durations[] = {10, 20, 5};
    timeline.initializeWithVariableTimeFrames(3, durations);
    const int expected[][2] = {{0, 0}, {9, 0}, {10, 1}, {29, 1}, {30, 2}, {34, 2}, {35, 2}, {99, 2}};
    for (const auto& [time, frame] : expected)
        EXPECT_EQ(timeline.frameFromTime(static_cast<uint32>(time)), frame) << time;
    const std::pair<int, uint32> starts[] = {{-1, 0}, {0, 0}, {1, 10}, {2, 30}, {3, 35}, {9, 35}};
    for (const auto& [frame, time] : starts) EXPECT_EQ(timeline.timeFromFrame(frame), time) << frame;
    EXPECT_EQ(timeline.getTotalTime(), 35u);
    EXPECT_EQ(timeline.getNumberOfFrames(), 3u);
}

TEST(Timeline, LongTimesSaturate) {
    Timeline timeline;
    timeline.initializeWithConstantTimeFrames(4'000'000'000u, 4'000'000'000u);
    EXPECT_EQ(timeline.getTotalTime(), UINT32_MAX);
    EXPECT_EQ(timeline.timeFromFrame(2), UINT32_MAX);
    EXPECT_EQ(timeline.frameFromTime(4'000'000'001u), 1);
}

} // namespace
} // namespace qel
