#include <tests/support/system_fixture.h>

namespace qel {
namespace {

class SystemTime : public test::SystemFixture {
protected:
    /// Advances the clock so that the reading wraps in @p milliseconds.
    void goToWrapIn(uint32 milliseconds) {
        clock.advanceMs(static_cast<int64>(uint32{0} - milliseconds - system().getTime()));
        system().getTime();
    }
};

TEST_F(SystemTime, FastTimeMovesOnlyWhenReadAndIsNeverZero) {
    goToWrapIn(1);
    clock.advanceMs(1);
    EXPECT_EQ(system().getTimeFast(), 0xFFFFFFFF);
    EXPECT_EQ(system().getTime(), 1u);
    EXPECT_EQ(system().getTimeFastNotZero(), 1u);
}

TEST_F(SystemTime, UniqueStampsGrowEvenIfTheClockGoesBack) {
    const int64 first = system().getUTCDateTimeUnique();
    EXPECT_EQ(system().getUTCDateTimeUnique(), first + 1);
    clock.setUtcTicks(first - 36'000'000'000);
    EXPECT_EQ(system().getUTCDateTimeUnique(), first + 2);
    clock.setUtcTicks(first + 100);
    EXPECT_EQ(system().getUTCDateTimeFast(), first + 2) << "the fast form does not read the clock";
}

TEST_F(SystemTime, DeadlinesAndStayAliveWorkAcrossTheWrap) {
    EXPECT_FALSE(system().isDeadlineExceeded());
    for (const uint32 toWrap : {5, 10}) {
        goToWrapIn(toWrap);
        system().setDeadlineIn(10);
        system().stayAlive();
        clock.advanceMs(10);
        EXPECT_FALSE(system().isDeadlineExceeded());
        EXPECT_TRUE(system().isDeadlineExceededIn(2));
        clock.advanceMs(2);
        EXPECT_TRUE(system().isDeadlineExceeded());
        for (const int milliseconds : {29'987, 1}) {
            clock.advanceMs(milliseconds);
            system().getTime();
            EXPECT_EQ(system().shouldStayAlive(), milliseconds != 1);
        }
    }
    system().clearDeadline();
    EXPECT_FALSE(system().isDeadlineExceededIn(1000));
}

} // namespace
} // namespace qel
