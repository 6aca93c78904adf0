#include <qel/platform/clock.h>

#include <tests/support/environment.h>

#include <gtest/gtest.h>

#include <chrono>
#include <limits>

namespace qel::platform {
namespace {

TEST(Clock, WallClockCountsFrom1601In100NanosecondTicks) {
    const auto unixNow = [] {
        return std::chrono::system_clock::now().time_since_epoch() / std::chrono::seconds(1);
    };
    const std::int64_t before = unixNow();
    const std::int64_t seconds = utcTicks() / 10'000'000 - 11'644'473'600;
    EXPECT_GE(seconds, before);
    EXPECT_LE(seconds, unixNow());
}

TEST(Clock, YearsThatNoIntHoldsAreRefusedAndTheTextIsTheFixedForm) {
    using Limits = std::numeric_limits<std::int64_t>;
    const test::TimeZone zone("UTC0");
    CalendarTime time{1, 2, 3, 4, 5, 6, 0};
    for (const std::int64_t seconds : {Limits::min(), Limits::max()}) {
        EXPECT_FALSE(utcCalendarTime(seconds, time));
        EXPECT_FALSE(localCalendarTime(seconds, time));
        EXPECT_EQ(localTimeText(seconds), "");
    }
    EXPECT_EQ(time.year, 1);
    EXPECT_EQ(localTimeText(1'704'067'200), "Mon Jan  1 00:00:00 2024");
    EXPECT_EQ(localTimeText(253'402'300'799), "Fri Dec 31 23:59:59 9999");
    EXPECT_EQ(localTimeText(253'402'300'800), "");
}

} // namespace
} // namespace qel::platform
