// Clock: the library's source of time, either the machine's clocks or one that tests and hosts advance.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <atomic>

namespace qel {

/// The only source of time for `System` and everything that uses it.
///
/// A process uses the machine's clocks until install() replaces them. Install a clock before
/// `System::initialize`, which takes its time base from it.
class QEL_API Clock {
public:
    virtual ~Clock();

    /// Returns the nanoseconds of a clock that never goes back; its origin is arbitrary. @threads any thread.
    virtual int64 steadyNanoseconds() = 0;
    /// Returns the wall-clock time in ticks of 100 ns since 1601-01-01 00:00 UTC. @threads any thread.
    virtual int64 utcTicks() = 0;
    /// Waits until @p milliseconds have passed on this clock. @threads any thread.
    virtual void sleep(unsigned milliseconds) = 0;
    /// Returns true if the clock moves as the machine's clocks do, so that a thread may wait for an event of
    /// the system instead of calling sleep(). @threads any thread.
    virtual bool isRealTime() const { return false; }

    /// Returns the processor time that the calling thread has taken, in nanoseconds, whatever clock is
    /// installed. @threads any thread; each has a time of its own.
    static int64 threadNanoseconds();
    /// Returns the clock in use: the machine's unless install() has set another. @threads any thread.
    static Clock& current();
    /// Uses @p clock from now on; null restores the machine's clocks.
    /// @owner the caller keeps the clock alive for as long as it is installed.
    static void install(Clock* clock);
};

/// A clock that moves only when advanced, for tests and for hosts that run on virtual time.
///
/// All operations may be called from any thread.
class QEL_API ManualClock : public Clock {
public:
    /// Starts at @p steadyNanoseconds and at 2024-01-01 00:00 UTC.
    explicit ManualClock(int64 steadyNanoseconds = 1'000'000'000);
    ~ManualClock() override;

    int64 steadyNanoseconds() override { return m_steady.load(std::memory_order_relaxed); }
    int64 utcTicks() override { return m_utc.load(std::memory_order_relaxed); }
    /// Advances the clock by @p milliseconds and returns at once.
    void sleep(unsigned milliseconds) override { advanceMs(milliseconds); }

    /// Advances both readings by @p milliseconds.
    void advanceMs(int64 milliseconds);
    /// Advances both readings by @p nanoseconds; the wall clock drops what is below 100 ns.
    void advanceNs(int64 nanoseconds);
    /// Sets only the wall clock, as when a user changes it. @param ticks  units of 100 ns since 1601.
    void setUtcTicks(int64 ticks) { m_utc.store(ticks, std::memory_order_relaxed); }

private:
    std::atomic<int64> m_steady;
    std::atomic<int64> m_utc;
};

} // namespace qel
