#include <tests/support/system_fixture.h>

#include <qel/system/tasks/alarm.h>
#include <qel/system/tasks/perfmon.h>
#include <qel/system/tasks/task_queue.h>

#include <string>
#include <vector>

namespace qel {
namespace {

class SystemPass : public test::SystemFixture {
protected:
    std::vector<std::string> events;

    auto note(const char* event) {
        return [this, event] { events.emplace_back(event); };
    }
};

TEST_F(SystemPass, RunsItsStepsInOrder) {
    class Last : public Object {
    public:
        explicit Last(std::vector<std::string>& events) : m_events(events) {}
        ~Last() override { m_events.emplace_back("timed reference"); }

    private:
        std::vector<std::string>& m_events;
    };
    system().signalApplicationTick.connect(note("tick"));
    system().getGlobalMainQueue()->pushTask(new TaskQueue::LambdaNoContextTask(note("task")), 0);
    const SmartPointer<Alarm> alarm = new Alarm;
    alarm->trigger.connect(note("alarm"));
    alarm->scheduleInSeconds(0);
    SmartPointer<Last> last = new Last(events);
    last->takeTimedReference();
    last = nullptr;
    system().delegateIdleWork.connect([this](bool) {
        events.emplace_back("idle");
        return -1;
    });
    passAfter(2048);
    EXPECT_EQ(events, (std::vector<std::string>{"tick", "task", "alarm", "timed reference", "idle"}));
}

TEST_F(SystemPass, ATaskPushedByATaskRunsInTheSamePass) {
    system().getGlobalMainQueue()->pushTask(new TaskQueue::LambdaNoContextTask([this] {
                                                system().getGlobalMainQueue()->pushTask(
                                                    new TaskQueue::LambdaNoContextTask(note("inner")), 0);
                                            }),
                                            0);
    system().processEvents(0);
    EXPECT_EQ(events, std::vector<std::string>{"inner"});
}

TEST_F(SystemPass, WhenNothingMovesOneFullPassASecondIsLeft) {
    passAfter(2000);
    int full = 0;
    for (int i = 0; i < 100; ++i) {
        passAfter(50);
        full += (system().getEventFlags() & System::kEventLowPower) == 0;
    }
    EXPECT_EQ(full, 5) << "in 5 seconds";
    passAfter(50, System::kEventFullPass | 8);
    EXPECT_EQ(system().getEventFlags(), System::kEventFullPass | 8) << "the host's own bits pass through";
}

TEST_F(SystemPass, ActivityGivesFullPassesForASecondAcrossTheWrap) {
    clock.advanceMs(static_cast<int64>(uint32{0} - 500 - system().getTime()));
    system().getTime();
    system().disableLowPowerModeShortly();
    passAfter(1000);
    EXPECT_EQ(system().getEventFlags(), 0);
    EXPECT_FALSE(system().isLowPowerModeApplicable());
    passAfter(1);
    passAfter(1);
    EXPECT_EQ(system().getEventFlags(), System::kEventLowPower);
    EXPECT_TRUE(system().isLowPowerModeApplicable());
}

TEST_F(SystemPass, IdleWorkEndsWithItsBudget) {
    std::vector<bool> calls;
    system().delegateIdleWork.connect([&](bool first) {
        calls.push_back(first);
        clock.advanceMs(5);
        return 0;
    });
    system().processEvents(0);
    EXPECT_EQ(calls, (std::vector<bool>{true, false, false}));
}

TEST_F(SystemPass, ALongPassLeavesNoTimeForIdleWork) {
    bool called = false;
    system().signalApplicationTick.connect([this] { clock.advanceMs(14); });
    system().delegateIdleWork.connect([&](bool) {
        called = true;
        return -1;
    });
    system().processEvents(0);
    EXPECT_FALSE(called);
}

TEST_F(SystemPass, BackgroundSavesTwiceAndLeavesIdleWorkOut) {
    system().signalSyncUnsaved.connect(note("save"));
    system().delegateIdleWork.connect([this](bool) {
        events.emplace_back("idle");
        return -1;
    });
    system().setBackgroundMode(true);
    system().processEvents(0);
    EXPECT_EQ(events, (std::vector<std::string>{"save", "save"}));
}

TEST_F(SystemPass, IdleWorkMayDisconnectItself) {
    int calls = 0;
    struct Worker : Object {
        int* calls;
        int work(bool) {
            ++*calls;
            decreaseReferenceCount();
            return 0;
        }
    };
    Worker* const worker = new Worker;
    worker->calls = &calls;
    worker->increaseReferenceCount();
    system().delegateIdleWork.connect(worker, &Worker::work);
    system().processEvents(0);
    EXPECT_EQ(calls, 1) << "the hook let go when its object died";
}

TEST_F(SystemPass, TheReportMeasuresTheHostsOwnTimeAsOther) {
    for (int i = 0; i < 5; ++i) passAfter(1000);
    const String report = system().getPerfMon()->getReport();
    EXPECT_NE(report.find("Other"), String::npos) << report;
    EXPECT_NE(report.find("Scheduler"), String::npos) << report;
    EXPECT_EQ(report.find("IdleWorks"), String::npos) << "never begun without a hook";
}

TEST_F(SystemPass, TheSimpleLoopSleepsUntilAnInterruptComes) {
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
