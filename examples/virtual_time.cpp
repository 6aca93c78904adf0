// A test on virtual time: the clock moves only when it is advanced, so a minute passes at once.
#include <qel/foundation/base/smart_pointer.h>
#include <qel/system/core/clock.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/alarm.h>

#include <cstdio>

namespace {

/// What is tested: a lock that closes if nobody has touched it for 30 units of time.
class AutoLock {
public:
    AutoLock() {
        m_alarm->trigger.connect([this] { m_isLocked = true; });
        touch();
    }
    void touch() {
        m_isLocked = false;
        m_alarm->scheduleInSeconds(30);
    }
    bool isLocked() const { return m_isLocked; }

private:
    qel::SmartPointer<qel::Alarm> m_alarm{new qel::Alarm};
    bool m_isLocked = false;
};

/// Advances the clock second by second, with a pass of the main loop after each.
void advance(qel::ManualClock& clock, int seconds) {
    for (int i = 0; i < seconds; ++i) {
        clock.advanceMs(1024); // the unit of alarms
        qel::Object::system()->processEvents(0);
    }
}

int g_failures = 0;

void expect(bool condition, const char* rule) {
    std::printf("%s: %s\n", condition ? "ok" : "FAILED", rule);
    if (!condition) ++g_failures;
}

} // namespace

int main() {
    qel::ManualClock clock;
    qel::Clock::install(&clock);
    qel::System::initialize(nullptr);
    {
        AutoLock lock;
        advance(clock, 29);
        expect(!lock.isLocked(), "it is open for 29 seconds");
        lock.touch();
        advance(clock, 29);
        expect(!lock.isLocked(), "a touch starts the time again");
        advance(clock, 2);
        expect(lock.isLocked(), "it locks after 30 seconds");
    }
    qel::System::deinitialize();
    qel::Clock::install(nullptr);
    return g_failures == 0 ? 0 : 1;
}

// Prints:
// ok: it is open for 29 seconds
// ok: a touch starts the time again
// ok: it locks after 30 seconds
