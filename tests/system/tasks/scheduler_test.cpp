#include <qel/system/tasks/scheduler.h>

#include <qel/foundation/base/smart_pointer.h>

#include "../../support/system_fixture.h"

#include <functional>
#include <string>

namespace qel {
namespace {

class SchedulerTest : public test::SystemFixture {
protected:
    /// An alarm that appends @p letter when it fires, and then does @p then.
    SmartPointer<Alarm> makeAlarm(char letter, std::function<void()> then = {}) {
        SmartPointer<Alarm> alarm(new Alarm);
        alarm->trigger.connect([this, letter, then] {
            fired += letter;
            if (then) then();
        });
        return alarm;
    }
    Scheduler& wheel() { return *system().getScheduler(); }
    /// Moves the clock on and the wheel with it; what fired on the way.
    std::string tickAfter(int64 milliseconds) {
        fired.clear();
        clock.advanceMs(milliseconds);
        system().getTime();
        wheel().tick();
        return fired;
    }
    /// Moves the clock on by whole units of the wheel.
    std::string tickUnits(int64 units) { return tickAfter(units * 1024); }

    std::string fired;
};

TEST_F(SchedulerTest, NoUnitBoundaryNoFire) {
    tickUnits(1);
    const SmartPointer<Alarm> alarm = makeAlarm('a');
    alarm->scheduleInSeconds(0);
    const int64 toBoundary = 1024 - system().getTimeFast() % 1024;
    EXPECT_EQ(tickAfter(toBoundary - 1), "");
    EXPECT_EQ(tickAfter(1), "a");
}

TEST_F(SchedulerTest, ArmingAnewInTheSameUnitKeepsThePlaceAndInAnotherLosesIt) {
    const SmartPointer<Alarm> a = makeAlarm('a'), b = makeAlarm('b');
    a->scheduleInSeconds(5);
    b->scheduleInSeconds(5);
    a->scheduleInSeconds(5);
    EXPECT_EQ(tickUnits(6), "ab");
    a->scheduleInSeconds(5);
    b->scheduleInSeconds(5);
    a->scheduleInSeconds(4);
    a->scheduleInSeconds(5);
    EXPECT_EQ(tickUnits(6), "ba");
}

TEST_F(SchedulerTest, AnAlarmFiresOnceWhenTheWheelHasComeRoundModulo64) {
    const SmartPointer<Alarm> full = makeAlarm('f'), negative = makeAlarm('n'), longest = makeAlarm('l');
    full->scheduleInSeconds(64);
    negative->scheduleInSeconds(-62);
    longest->scheduleInSeconds(63);
    EXPECT_EQ(tickUnits(1), "f");
    EXPECT_EQ(tickUnits(2), "n");
    EXPECT_EQ(tickUnits(60), "");
    EXPECT_TRUE(longest->isScheduled());
    EXPECT_EQ(tickUnits(1), "l");
    EXPECT_FALSE(longest->isScheduled());
    EXPECT_EQ(tickUnits(200), "");
}

TEST_F(SchedulerTest, AfterALongStallEveryAlarmFiresOnceAndThoseThatNobodyHoldsDie) {
    SmartPointer<Alarm> a = makeAlarm('a'), b = makeAlarm('b');
    const WeakPointer<Alarm> weak(b);
    b->scheduleInSeconds(40);
    a->scheduleInSeconds(3);
    b.reset();
    EXPECT_TRUE(weak);
    EXPECT_EQ(tickAfter(600'000), "ab");
    EXPECT_FALSE(weak);
}

TEST_F(SchedulerTest, ATriggerMayArmItsOwnAlarmForTheSlotThatIsFiring) {
    SmartPointer<Alarm> alarm;
    int left = 3;
    alarm = makeAlarm('a', [&] {
        if (--left > 0) alarm->scheduleInSeconds(0);
    });
    alarm->scheduleInSeconds(0);
    EXPECT_EQ(tickUnits(1), "aaa");
}

TEST_F(SchedulerTest, ATriggerMayCancelOrReleaseOthersOfItsSlot) {
    SmartPointer<Alarm> second = makeAlarm('b'), third = makeAlarm('c');
    const SmartPointer<Alarm> first = makeAlarm('a', [&] {
        second->cancel();
        second.reset();
        third.reset();
    });
    for (Alarm* alarm : {first.get(), second.get(), third.get()}) alarm->scheduleInSeconds(0);
    EXPECT_EQ(tickUnits(1), "ac");
}

TEST_F(SchedulerTest, AnAlarmTakenOutOfTheWheelFiresNoMore) {
    const SmartPointer<Alarm> canceled = makeAlarm('c'), early = makeAlarm('e');
    canceled->cancel();
    early->executeNowIfScheduled();
    EXPECT_EQ(fired, "");
    Alarm().scheduleInSeconds(1); // leaves as it dies
    for (Alarm* alarm : {canceled.get(), early.get()}) alarm->scheduleInSeconds(1);
    canceled->cancel();
    wheel().cancel(canceled.get());
    EXPECT_EQ(canceled->getReferenceCount(), 1);
    early->executeNowIfScheduled();
    EXPECT_EQ(fired, "e");
    EXPECT_EQ(tickUnits(70), "");
}

TEST_F(SchedulerTest, AlarmsFireInTimeWhileTheMillisecondsWrap) {
    tickAfter((int64{1} << 32) - 60'000 - system().getTimeFast());
    const SmartPointer<Alarm> before = makeAlarm('b'), after = makeAlarm('a');
    before->scheduleInSeconds(50);
    after->scheduleInSeconds(62);
    EXPECT_EQ(tickUnits(49), "");
    EXPECT_EQ(tickUnits(2), "b");
    EXPECT_EQ(tickUnits(10), "");
    EXPECT_EQ(tickUnits(2), "a");
    EXPECT_LT(system().getTimeFast(), 60'000u); // it has wrapped
}

} // namespace
} // namespace qel
