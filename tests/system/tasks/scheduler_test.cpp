#include <qel/system/tasks/scheduler.h>

#include <qel/foundation/base/smart_pointer.h>

#include "../../support/system_fixture.h"

#include <functional>
#include <string>
#include <vector>

namespace qel {
namespace {

class SchedulerTest : public test::SystemFixture {
protected:
    /// Creates an alarm that appends @p letter when it fires and then calls @p then.
    SmartPointer<Alarm> makeAlarm(char letter, std::function<void()> then = {}) {
        SmartPointer<Alarm> alarm(new Alarm);
        alarm->trigger.connect([this, letter, then] {
            fired += letter;
            if (then) then();
        });
        return alarm;
    }
    /// Advances the clock and the wheel. @return the letters of the alarms that fired.
    std::string tickAfter(int64 milliseconds) {
        fired.clear();
        clock.advanceMs(milliseconds);
        system().getTime();
        system().getScheduler()->tick();
        return fired;
    }
    std::string tickUnits(int64 units) { return tickAfter(units * 1024); }
    static void schedule(const std::vector<std::pair<Alarm*, int>>& alarms) {
        for (const auto& [alarm, seconds] : alarms) alarm->scheduleInSeconds(seconds);
    }

    std::string fired;
};

TEST_F(SchedulerTest, AnAlarmFiresOnceModulo64EvenIfTheMillisecondsWrap) {
    const SmartPointer<Alarm> full = makeAlarm('f'), negative = makeAlarm('n'), longest = makeAlarm('l');
    for (const bool wraps : {false, true}) {
        if (wraps) tickAfter((int64{1} << 32) - 60'000 - system().getTimeFast());
        schedule({{full.get(), 64}, {negative.get(), -62}, {longest.get(), 63}});
        const std::pair<int, const char*> ticks[] = {{1, "f"}, {2, "n"}, {60, ""}, {1, "l"}, {64, ""}};
        for (const auto& [units, letters] : ticks) {
            EXPECT_EQ(longest->isScheduled(), units != 64);
            EXPECT_EQ(tickUnits(units), letters) << units;
        }
        EXPECT_EQ(system().getTimeFast() < 80'000u, wraps);
    }
}

TEST_F(SchedulerTest, AfterALongStallEveryAlarmFiresOnceEvenIfUnowned) {
    schedule({{makeAlarm('b').get(), 40}, {makeAlarm('a').get(), 3}});
    EXPECT_EQ(tickAfter(600'000), "ab");
}

TEST_F(SchedulerTest, ATriggerMayRescheduleAndCancelAlarms) {
    SmartPointer<Alarm> canceled = makeAlarm('b'), released = makeAlarm('c'), first;
    first = makeAlarm('a', [&] {
        if (fired != "aca") first->scheduleInSeconds(0);
        if (canceled) canceled->cancel();
        canceled.reset();
        released.reset();
    });
    schedule({{first.get(), 0}, {canceled.get(), 0}, {released.get(), 0}});
    EXPECT_EQ(tickUnits(1), "aca");
}

TEST_F(SchedulerTest, AnAlarmRemovedFromTheWheelDoesNotFire) {
    const SmartPointer<Alarm> canceled = makeAlarm('c'), early = makeAlarm('e');
    Alarm().scheduleInSeconds(1); // its destructor removes it from the wheel
    schedule({{canceled.get(), 1}, {early.get(), 1}});
    for (int call = 0; call < 2; ++call) canceled->cancel();
    for (int call = 0; call < 2; ++call) early->executeNowIfScheduled();
    EXPECT_EQ(canceled->getReferenceCount(), 1);
    EXPECT_EQ(fired, "e");
    EXPECT_EQ(tickUnits(70), "");
}

} // namespace
} // namespace qel
