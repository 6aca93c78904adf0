#include <qel/system/core/clock.h>

#include <gtest/gtest.h>

namespace qel {
namespace {

TEST(Clock, AnInstalledClockReplacesTheMachinesAndStandsStillUntilItIsMoved) {
    Clock& machine = Clock::current();
    ManualClock clock(5);
    Clock::install(&clock);
    const int64 utc = clock.utcTicks();
    EXPECT_EQ(Clock::current().steadyNanoseconds(), 5);
    clock.sleep(2);
    clock.advanceNs(250);
    EXPECT_EQ(clock.steadyNanoseconds(), 2'000'255);
    EXPECT_EQ(clock.utcTicks(), utc + 20'002);
    Clock::install(nullptr);
    EXPECT_EQ(&Clock::current(), &machine);
    EXPECT_GT(machine.utcTicks(), 133'485'408'000'000'000) << "the machine's year lies behind 2024";
}

} // namespace
} // namespace qel
