// A fixture with a System on virtual time.
#pragma once

#include <qel/system/core/clock.h>
#include <qel/system/core/system.h>

#include <gtest/gtest.h>

namespace qel::test {

/// Starts a System on a ManualClock before each test, and stops it properly afterwards.
///
/// A test that leaves references to the System open fails.
class SystemFixture : public ::testing::Test {
protected:
    void SetUp() override {
        Clock::install(&clock);
        System::initialize({});
        clock.advanceMs(1); // the initial time of 0 would be read as 1
    }

    void TearDown() override {
        if (internal::g_system != nullptr) System::deinitialize();
        EXPECT_EQ(internal::g_system, nullptr) << "references to System are still open";
        Clock::install(nullptr);
    }

    /// Returns the System under test.
    System& system() { return *internal::g_system; }

    /// Advances the clock by @p milliseconds and runs one pass.
    void passAfter(int64 milliseconds, int flags = 0) {
        clock.advanceMs(milliseconds);
        system().processEvents(flags);
    }

    ManualClock clock{1'000'000'000};
};

} // namespace qel::test
