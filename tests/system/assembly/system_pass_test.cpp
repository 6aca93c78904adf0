#include <tests/support/system_fixture.h>

#include <qel/script/vm.h>
#include <qel/system/tasks/alarm.h>
#include <qel/system/tasks/perfmon.h>
#include <qel/system/tasks/task_queue.h>

#include <gmock/gmock.h>

#include <string>

namespace qel {
namespace {

using ::testing::HasSubstr;

class SystemPass : public test::SystemFixture {
protected:
    auto note(const char* event) {
        return [this, event] { events += event; };
    }
    /// Connects idle work that takes 5 ms and always has more to do.
    void connectIdleWork() {
        system().delegateIdleWork.connect([this](bool first) {
            events += first ? "idle " : "more ";
            clock.advanceMs(5);
            return 0;
        });
    }

    std::string events;
};

TEST_F(SystemPass, StepsRunInOrderAndIdleWorkWithinItsBudget) {
    system().signalApplicationTick.connect(note("tick "));
    system().getGlobalMainQueue()->pushTask(new TaskQueue::LambdaNoContextTask(note("task ")), 0);
    const SmartPointer<Alarm> alarm = new Alarm;
    alarm->trigger.connect(note("alarm "));
    alarm->scheduleInSeconds(0);
    SmartPointer<Object> timed(new Object);
    timed->takeTimedReference();
    connectIdleWork();
    passAfter(2048);
    EXPECT_EQ(events, "tick task alarm idle more more ");
    EXPECT_EQ(timed->getReferenceCount(), 1) << "timed references end with the pass";
}

TEST_F(SystemPass, OneFullPassASecondRunsWhileNothingMoves) {
    passAfter(2000);
    int full = 0;
    for (int i = 0; i < 100; ++i) {
        passAfter(50);
        full += (system().getEventFlags() & System::kEventLowPower) == 0;
    }
    EXPECT_EQ(full, 5) << "in five seconds";
    EXPECT_TRUE(system().getPerfMon()->getReport().contains("Other"))
        << "the host's own time is measured too";
    passAfter(50, System::kEventFullPass | 8);
    EXPECT_EQ(system().getEventFlags(), System::kEventFullPass | 8)
        << "the bits of the host are passed through";
}

TEST_F(SystemPass, ReportNamesTheTimeOfEachStep) {
    const auto work = [this](int64 milliseconds) {
        return [this, milliseconds] {
            clock.advanceMs(milliseconds);
            return false;
        };
    };
    system().signalApplicationTick.connect(work(100));
    system().getVM()->addBackgroundWork(work(200));
    passAfter(2048);
    passAfter(2048);
    const String report = system().getPerfMon()->getReport();
    EXPECT_THAT(report, HasSubstr(" 100.0ms Tick\n"));
    EXPECT_THAT(report, HasSubstr(" 200.0ms VM\n"));
    EXPECT_THAT(report, HasSubstr(" 0.0ms Queue\n"));
    EXPECT_THAT(report, HasSubstr(" 0.0ms Scheduler\n"));
}

TEST_F(SystemPass, ActivityCausesFullPassesForASecond) {
    clock.advanceMs(static_cast<int64>(uint32{0} - 500 - system().getTime()));
    system().getTime();
    system().disableLowPowerModeShortly();
    passAfter(1000);
    EXPECT_EQ(system().getEventFlags(), 0);
    for (int pass = 0; pass < 2; ++pass) passAfter(1);
    EXPECT_EQ(system().getEventFlags(), System::kEventLowPower);
}

TEST_F(SystemPass, IdleWorkIsSkippedInLongAndBackgroundPasses) {
    connectIdleWork();
    system().signalApplicationTick.connect([this] { clock.advanceMs(14); });
    system().processEvents(0);
    EXPECT_EQ(events, "");
    system().signalApplicationTick.disconnectAll();
    system().signalSyncUnsaved.connect(note("save "));
    system().setBackgroundMode(true);
    system().processEvents(0);
    EXPECT_EQ(events, "save save ");
}

TEST_F(SystemPass, SimpleLoopSleepsUntilAnInterrupt) {
    unsigned slept = 0;
    system().delegateSleep.connect([&](unsigned milliseconds) {
        slept += milliseconds;
        if (slept == 3) System::setHitSIGINT(true);
    });
    ::testing::internal::CaptureStdout();
    system().runSimpleMainLoop();
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "* interrupted\n");
    EXPECT_EQ(slept, 3u);
    System::setHitSIGINT(false);
}

} // namespace
} // namespace qel
