#include <qel/platform/clock.h>

#include <tests/support/environment.h>

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <limits>
#include <utility>

namespace qel::platform {
namespace {

using test::TimeZone;

constexpr std::int64_t kNewYear2024 = 1'704'067'200; // 2024-01-01 00:00 UTC

TEST(Clock, SteadyReadingsNeverGoBack) {
    std::int64_t last = steadyNanoseconds();
    for (int i = 0; i < 10'000; ++i) {
        const std::int64_t now = steadyNanoseconds();
        ASSERT_GE(now, last);
        last = now;
    }
}

std::uint32_t g_slept = 0;

TEST(Clock, ATestMayStandInForTheWait) {
    replaceSleep([](std::uint32_t milliseconds) { g_slept = milliseconds; });
    sleepMilliseconds(4'000'000'000u);
    replaceSleep(nullptr);
    EXPECT_EQ(g_slept, 4'000'000'000u);
}

TEST(Clock, WallClockCountsFrom1601In100NanosecondTicks) {
    const auto unixNow = [] {
        return std::chrono::system_clock::now().time_since_epoch() / std::chrono::seconds(1);
    };
    const std::int64_t before = unixNow();
    const std::int64_t seconds = utcTicks() / 10'000'000 - 11'644'473'600;
    EXPECT_GE(seconds, before);
    EXPECT_LE(seconds, unixNow());
}

TEST(Clock, CalendarFollowsTheTimeZoneWithItsDaylightSavingThereAndBack) {
    const TimeZone zone(TimeZone::kCentralEurope);
    const std::pair<std::int64_t, std::array<int, 4>> cases[] = {
        {kNewYear2024, {2024, 1, 1, 1}},
        {kNewYear2024 + 182L * 86400, {2024, 7, 1, 2}},
        {-86400L * 365, {1969, 1, 1, 1}},
    };
    CalendarTime time;
    for (const auto& [seconds, fields] : cases) {
        ASSERT_TRUE(localCalendarTime(seconds, time));
        EXPECT_EQ((std::array{time.year, time.month, time.day, time.hours}), fields);
        EXPECT_EQ(unixSecondsFromLocal(time), seconds);
    }
    ASSERT_TRUE(utcCalendarTime(kNewYear2024, time));
    EXPECT_EQ(time.hours, 0);
    EXPECT_EQ(time.weekDay, 1);
}

TEST(Clock, LocalFieldsBeyondTheirRangesCarryOverAndAnyAreHarmless) {
    const TimeZone zone("UTC0");
    constexpr int kLeast = std::numeric_limits<int>::min();
    constexpr int kMost = std::numeric_limits<int>::max();
    EXPECT_EQ(unixSecondsFromLocal({2023, 13, 1, 0, 0, 0, 0}), kNewYear2024);
    EXPECT_EQ(unixSecondsFromLocal({2023, 12, 31, 24, 0, 0, 0}), kNewYear2024);
    EXPECT_EQ(unixSecondsFromLocal({kLeast, 1, 1, 0, 0, 0, 0}), -1);
    EXPECT_EQ(unixSecondsFromLocal({2024, kLeast, 1, 0, 0, 0, 0}), -1);
    EXPECT_EQ(unixSecondsFromLocal({kMost, kMost, kMost, kMost, kMost, kMost, kMost}), -1);
}

TEST(Clock, YearsThatNoIntHoldsAreRefusedAndTheTextIsTheFixedForm) {
    using Limits = std::numeric_limits<std::int64_t>;
    const TimeZone zone("UTC0");
    CalendarTime time{1, 2, 3, 4, 5, 6, 0};
    for (const std::int64_t seconds : {Limits::min(), Limits::max()}) {
        EXPECT_FALSE(utcCalendarTime(seconds, time));
        EXPECT_FALSE(localCalendarTime(seconds, time));
        EXPECT_EQ(localTimeText(seconds), "");
    }
    EXPECT_EQ(time.year, 1);
    EXPECT_EQ(localTimeText(kNewYear2024), "Mon Jan  1 00:00:00 2024");
    EXPECT_EQ(localTimeText(253'402'300'799), "Fri Dec 31 23:59:59 9999");
    EXPECT_EQ(localTimeText(253'402'300'800), "");
}

} // namespace
} // namespace qel::platform
