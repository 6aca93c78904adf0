// Where the library reads time from: the machine's clocks, or a clock that tests and hosts step by hand.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <atomic>

namespace qel {

/// The one source of time for `System` and everything that asks it.
///
/// A process uses the machine's clocks until install() puts another one in their place. Install a clock
/// before `System::initialize`, which takes its time base from it.
class QEL_API Clock {
public:
    virtual ~Clock();

    /// Nanoseconds of a clock that never goes back; the origin is arbitrary. @threads any thread.
    virtual int64 steadyNanoseconds() = 0;
    /// Wall-clock time as ticks of 100 ns since 1601-01-01 00:00 UTC. @threads any thread.
    virtual int64 utcTicks() = 0;
    /// Lets @p milliseconds pass on this clock. @threads any thread.
    virtual void sleep(unsigned milliseconds) = 0;

    /// The clock in use; the machine's own unless install() has set another. @threads any thread.
    static Clock& current();
    /// Uses @p clock from now on; null goes back to the machine's clocks.
    /// @owner the caller keeps the clock alive for as long as it is installed.
    static void install(Clock* clock);
};

/// A clock that stands still until it is told to move, for tests and for hosts that run on virtual time.
///
/// All operations may be called from any thread.
class QEL_API ManualClock : public Clock {
public:
    /// Starts at @p steadyNanoseconds and at 2024-01-01 00:00 UTC.
    explicit ManualClock(int64 steadyNanoseconds = 1'000'000'000);
    ~ManualClock() override;

    int64 steadyNanoseconds() override { return m_steady.load(std::memory_order_relaxed); }
    int64 utcTicks() override { return m_utc.load(std::memory_order_relaxed); }
    /// Moves the clock on by @p milliseconds and returns at once.
    void sleep(unsigned milliseconds) override { advanceMs(milliseconds); }

    /// Moves both readings on by @p milliseconds.
    void advanceMs(int64 milliseconds);
    /// Moves both readings on by @p nanoseconds; the wall clock cuts what is below 100 ns.
    void advanceNs(int64 nanoseconds);
    /// Sets the wall clock alone, as when a user changes it. @param ticks 100 ns since 1601.
    void setUtcTicks(int64 ticks) { m_utc.store(ticks, std::memory_order_relaxed); }

private:
    std::atomic<int64> m_steady;
    std::atomic<int64> m_utc;
};

} // namespace qel
