#include <qel/system/core/clock.h>

#include <qel/platform/clock.h>

namespace qel {

namespace {

class MachineClock final : public Clock {
public:
    int64 steadyNanoseconds() override { return platform::steadyNanoseconds(); }
    int64 utcTicks() override { return platform::utcTicks(); }
    bool isRealTime() const override { return true; }
    void sleep(unsigned milliseconds) override { platform::sleepMilliseconds(milliseconds); }
};

/// Created on first use and never destroyed, so that a late static destructor may still read the time.
Clock& machineClock() {
    alignas(MachineClock) static unsigned char storage[sizeof(MachineClock)];
    static Clock* const clock = new (storage) MachineClock;
    return *clock;
}

constinit std::atomic<Clock*> g_installed{nullptr};

constexpr int64 kTicksOf2024 = 133'485'408'000'000'000;

} // namespace

Clock::~Clock() = default;

int64 Clock::threadNanoseconds() {
    return platform::threadNanoseconds();
}

Clock& Clock::current() {
    Clock* const installed = g_installed.load(std::memory_order_acquire);
    return installed != nullptr ? *installed : machineClock();
}

void Clock::install(Clock* clock) {
    g_installed.store(clock, std::memory_order_release);
}

ManualClock::ManualClock(int64 steadyNanoseconds) : m_steady(steadyNanoseconds), m_utc(kTicksOf2024) {}

ManualClock::~ManualClock() = default;

void ManualClock::advanceMs(int64 milliseconds) {
    advanceNs(milliseconds * 1'000'000);
}

void ManualClock::advanceNs(int64 nanoseconds) {
    m_steady.fetch_add(nanoseconds, std::memory_order_relaxed);
    m_utc.fetch_add(nanoseconds / 100, std::memory_order_relaxed);
}

} // namespace qel
