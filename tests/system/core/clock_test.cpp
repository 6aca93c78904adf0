#include <qel/system/core/clock.h>

#include <gtest/gtest.h>

namespace qel {
namespace {

TEST(ManualClock, StandsStillUntilItIsMoved) {
    ManualClock clock(5);
    const int64 utc = clock.utcTicks();
    EXPECT_EQ(clock.steadyNanoseconds(), 5);
    clock.sleep(2);
    EXPECT_EQ(clock.steadyNanoseconds(), 2'000'005);
    EXPECT_EQ(clock.utcTicks(), utc + 20'000);
    clock.advanceNs(250);
    EXPECT_EQ(clock.utcTicks(), utc + 20'002);
}

TEST(Clock, AnInstalledClockReplacesTheMachinesUntilItIsTakenBack) {
    ManualClock manual(7);
    Clock& machine = Clock::current();
    Clock::install(&manual);
    EXPECT_EQ(Clock::current().steadyNanoseconds(), 7);
    Clock::install(nullptr);
    EXPECT_EQ(&Clock::current(), &machine);
    EXPECT_GT(machine.utcTicks(), 133'485'408'000'000'000) << "the machine's year lies behind 2024";
}

} // namespace
} // namespace qel
