#include <tests/support/system_fixture.h>

namespace qel {
namespace {

class SystemTime : public test::SystemFixture {
protected:
    /// Moves the millisecond reading so that it wraps in @p milliseconds.
    void goToWrapIn(uint32 milliseconds) {
        clock.advanceMs(static_cast<int64>(uint32{0} - milliseconds - system().getTime()));
    }
};

TEST_F(SystemTime, OnlyAReadingMovesTheFastTimeAndNoneIsZero) {
    goToWrapIn(1);
    const uint32 before = system().getTime();
    clock.advanceMs(1);
    EXPECT_EQ(system().getTimeFast(), before);
    EXPECT_EQ(system().getTime(), 1u);
    EXPECT_EQ(system().getTimeFast(), 1u);
    EXPECT_EQ(system().getTimeFastNotZero(), 1u);
}

TEST_F(SystemTime, UniqueStampsGrowThoughTheClockStandsOrGoesBack) {
    const int64 first = system().getUTCDateTimeUnique();
    EXPECT_EQ(system().getUTCDateTimeUnique(), first + 1);
    clock.setUtcTicks(first - 36'000'000'000);
    EXPECT_EQ(system().getUTCDateTimeUnique(), first + 2);
    EXPECT_EQ(system().getUTCDateTimeFast(), first + 2);
    clock.setUtcTicks(first + 100);
    EXPECT_EQ(system().getUTCDateTimeFast(), first + 2) << "the fast form doesn't read the clock";
}

TEST_F(SystemTime, UptimeShowsDaysHoursMinutesSeconds) {
    clock.advanceMs(-1);
    EXPECT_EQ(system().getUptime(), "0:00:00:00");
    clock.advanceMs((((2 * 24 + 3) * 60 + 4) * 60 + 5) * int64{1000});
    EXPECT_EQ(system().getUptime(), "2:03:04:05");
}

TEST_F(SystemTime, DeadlinesHoldAcrossTheWrapOfTheReading) {
    EXPECT_FALSE(system().isDeadlineExceeded());
    goToWrapIn(5);
    system().setDeadlineIn(10);
    clock.advanceMs(10);
    EXPECT_FALSE(system().isDeadlineExceeded());
    EXPECT_TRUE(system().isDeadlineExceededIn(1));
    clock.advanceMs(1);
    EXPECT_TRUE(system().isDeadlineExceeded());
    system().clearDeadline();
    EXPECT_FALSE(system().isDeadlineExceededIn(1000));
}

TEST_F(SystemTime, ADeadlineThatFallsOnTheWrapIsStillADeadline) {
    goToWrapIn(10);
    system().setDeadlineIn(10);
    clock.advanceMs(12);
    EXPECT_TRUE(system().isDeadlineExceeded());
}

TEST_F(SystemTime, StayAliveLastsThirtySecondsAcrossTheWrap) {
    goToWrapIn(10'000);
    system().getTime();
    system().stayAlive();
    clock.advanceMs(29'999);
    system().getTime();
    EXPECT_TRUE(system().shouldStayAlive());
    clock.advanceMs(1);
    system().getTime();
    EXPECT_FALSE(system().shouldStayAlive());
}

} // namespace
} // namespace qel
