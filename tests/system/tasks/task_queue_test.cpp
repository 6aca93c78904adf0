#include <qel/system/tasks/task_queue.h>

#include <qel/foundation/base/smart_pointer.h>
#include <qel/system/tasks/main_pool.h>
#include <qel/system/tasks/thread_pool.h>

#include "../../support/system_fixture.h"
#include "gate.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace qel {
namespace {

using test::Gate;

template <typename F>
TaskQueue::Task* task(F callable) {
    return new TaskQueue::LambdaNoContextTask(std::move(callable));
}

template <typename F>
TaskQueue::Task* contextTask(F callable) {
    return new TaskQueue::LambdaTask(std::move(callable));
}

class TaskQueueTest : public test::SystemFixture {
protected:
    /// Occupies @p queue with a task that waits at the gate.
    void block(TaskQueue& queue, unsigned workload = 0) {
        queue.pushTask(task([this] { gate.pass(); }), workload);
        gate.waitForArrivals(1);
    }
    void note(const std::string& what) {
        const std::lock_guard lock(m_mutex);
        notes += what;
    }

    Gate gate;
    std::string notes;

private:
    std::mutex m_mutex;
};

TEST_F(TaskQueueTest, TheTypeTellsTheCharacter) {
    const TaskQueue main(TaskQueue::kMain), deleteIO(2567, 5), blocking(3592), parallel(1026);
    EXPECT_TRUE(main.isMainQueue() && !main.isParallelQueue() && !main.isIOQueue());
    EXPECT_TRUE(deleteIO.isIOQueue() && deleteIO.isHighPriQueue() && !deleteIO.isParallelQueue());
    EXPECT_TRUE(blocking.isIOQueue() && blocking.isHighPriQueue() && blocking.isParallelQueue());
    EXPECT_TRUE(parallel.isParallelQueue() && !parallel.isIOQueue() && !parallel.isHighPriQueue());
    EXPECT_EQ(deleteIO.getQueueID(), 5);
}

TEST_F(TaskQueueTest, ACountOfZeroDoesNothing) {
    TaskQueue queue(TaskQueue::kParallel);
    const SmartPointer<TaskQueue::Task> held(task([] {}));
    queue.pushTaskN(0, held.get(), 7);
    EXPECT_EQ(held->getReferenceCount(), 1);
    EXPECT_EQ(queue.getWorkload(), 0u);
    EXPECT_TRUE(queue.empty());
}

TEST_F(TaskQueueTest, ATaskPushedNTimesSeesItsIndicesFromTheTop) {
    for (const TaskQueue::Type type : {TaskQueue::kDeleteIO, TaskQueue::kParallel}) {
        TaskQueue queue(type, 9);
        std::mutex mutex;
        std::vector<bool> seen(3);
        bool contextFits = true;
        queue.pushTaskN(3, contextTask([&](TaskContext& context) {
                            const std::lock_guard lock(mutex);
                            seen.at(context.getIndex()) = true;
                            contextFits &= context.getQueue() == &queue && context.getQueueID() == 9;
                        }),
                        0);
        queue.wait();
        EXPECT_EQ(seen, std::vector<bool>(3, true));
        EXPECT_TRUE(contextFits);
    }
}

TEST_F(TaskQueueTest, ASerialQueueKeepsItsOrderAndItsReferences) {
    TaskQueue queue(TaskQueue::kDeleteIO);
    std::string order;
    const SmartPointer<TaskQueue::Task> counted(contextTask([&](TaskContext& context) {
        order +=
            std::to_string(context.getIndex()) + ":" + std::to_string(counted->getReferenceCount()) + " ";
    }));
    block(queue);
    queue.pushTaskN(3, counted.get(), 0);
    queue.pushTask(task([&] { order += "end"; }), 0);
    EXPECT_EQ(queue.getNumberOfQueuedTasks(), 2u);
    gate.open();
    queue.wait();
    EXPECT_EQ(order, "2:4 1:3 0:2 end");
    EXPECT_EQ(counted->getReferenceCount(), 1);
}

TEST_F(TaskQueueTest, WorkloadsCountUntilTheirRunsHaveEnded) {
    TaskQueue queue(TaskQueue::kDeleteIO);
    Gate second;
    block(queue, 5);
    queue.pushTaskN(2, task([] {}), 10);
    queue.pushTask(contextTask([&](TaskContext& context) {
                       context.changeWorkload(30);
                       second.pass();
                   }),
                   1);
    EXPECT_EQ(queue.getWorkload(), 26u);
    gate.open();
    second.waitForArrivals(1);
    EXPECT_EQ(queue.getWorkload(), 30u);
    second.open();
    queue.wait();
    EXPECT_EQ(queue.getWorkload(), 0u);
}

TEST_F(TaskQueueTest, ABarrierKeepsWhatFollowsUntilAllBeforeHasEnded) {
    TaskQueue queue(TaskQueue::kParallel);
    block(queue);
    queue.pushTaskN(2, task([this] { note("a"); }), 0);
    queue.pushBarrier();
    queue.pushTaskN(3, task([this] { note("b"); }), 0);
    queue.pushBarrier();
    queue.pushTask(task([this] { note("c"); }), 0);
    EXPECT_LE(queue.getNumberOfQueuedTasks(), 1u); // what is behind a barrier isn't counted
    EXPECT_EQ(notes.find('b'), std::string::npos);
    gate.open();
    queue.wait();
    EXPECT_EQ(notes, "aabbbc");
}

TEST_F(TaskQueueTest, BarriersKeepTheOrderOfASerialQueue) {
    TaskQueue queue(TaskQueue::kDeleteIO);
    block(queue);
    queue.pushTask(task([this] { note("a"); }), 0);
    queue.pushBarrier();
    queue.pushBarrier();
    queue.pushTask(task([this] { note("b"); }), 0);
    EXPECT_EQ(queue.getNumberOfQueuedTasks(), 1u);
    gate.open();
    queue.wait();
    EXPECT_EQ(notes, "ab");
}

TEST_F(TaskQueueTest, ABarrierOnAnIdleQueueSeparatesNothing) {
    TaskQueue queue(TaskQueue::kParallel);
    queue.pushBarrier();
    queue.pushTask(task([this] { note("a"); }), 0);
    queue.wait();
    EXPECT_EQ(notes, "a");
}

TEST_F(TaskQueueTest, APauseHoldsBackWhatIsPushedUntilResume) {
    for (const TaskQueue::Type type : {TaskQueue::kDeleteIO, TaskQueue::kParallel}) {
        TaskQueue queue(type);
        notes.clear();
        queue.pause();
        queue.pushTaskN(2, task([this] { note("a"); }), 0);
        EXPECT_TRUE(queue.empty());
        EXPECT_EQ(queue.getNumberOfQueuedTasks(), 0u);
        queue.resume();
        queue.wait();
        EXPECT_EQ(notes, "aa");
        queue.resume(); // without a pause: nothing
        EXPECT_TRUE(queue.empty());
    }
}

TEST_F(TaskQueueTest, AResumeWithNothingPushedEndsAtOnce) {
    TaskQueue queue(TaskQueue::kParallel);
    queue.pause();
    queue.resume();
    queue.wait();
    queue.pushTask(task([this] { note("a"); }), 0);
    queue.wait();
    EXPECT_EQ(notes, "a");
}

/// A queue that can be disabled for good.
class DisabledQueue : public TaskQueue {
public:
    explicit DisabledQueue(Type type) : TaskQueue(type) { disable(); }
};

TEST_F(TaskQueueTest, ADisabledQueueDropsTasksAndDeletesFreshOnes) {
    DisabledQueue queue(TaskQueue::kParallel);
    const auto life = std::make_shared<int>(0);
    queue.pushTask(task([life] {}), 1);
    EXPECT_EQ(life.use_count(), 1);
    const SmartPointer<TaskQueue::Task> held(task([life] {}));
    queue.pushTask(held.get(), 1);
    EXPECT_EQ(held->getReferenceCount(), 1);
    EXPECT_EQ(queue.getWorkload(), 0u);
    EXPECT_TRUE(queue.isAborting());
}

TEST_F(TaskQueueTest, AbortDropsWhatWaitsAndLetsTheRunningTaskEnd) {
    TaskQueue queue(TaskQueue::kDeleteIO);
    const auto life = std::make_shared<int>(0);
    queue.pushTask(contextTask([this](TaskContext& context) {
                       gate.pass();
                       while (!context.isAborting()) std::this_thread::yield();
                       note("ended");
                   }),
                   1);
    gate.waitForArrivals(1);
    queue.pushTaskN(3, task([this, life] { note("dropped"); }), 1);
    queue.pushBarrier();
    queue.pushTask(task([this, life] { note("dropped"); }), 1);
    gate.open();
    queue.abort();
    EXPECT_EQ(notes, "ended");
    EXPECT_EQ(life.use_count(), 1);
    EXPECT_EQ(queue.getWorkload(), 0u);
    EXPECT_FALSE(queue.isAborting());
    queue.pushTask(task([this] { note(" again"); }), 0);
    queue.wait();
    EXPECT_EQ(notes, "ended again");
}

TEST_F(TaskQueueTest, ADyingTaskMayUseItsQueue) {
    struct Probe {
        ~Probe() { empty = queue.empty() ? 1 : 0; }
        TaskQueue& queue;
        int& empty;
    };
    TaskQueue queue(TaskQueue::kDeleteIO);
    int empty = -1;
    queue.pause();
    queue.pushTask(task([probe = std::shared_ptr<Probe>(new Probe{queue, empty})] {}), 0);
    queue.abort();
    EXPECT_EQ(empty, 1);
}

TEST_F(TaskQueueTest, DestructionDropsWhatWaitsAndFinishesWhatRuns) {
    const auto life = std::make_shared<int>(0);
    {
        TaskQueue queue(TaskQueue::kParallel);
        block(queue);
        TaskQueue paused(TaskQueue::kParallel);
        paused.pause();
        paused.pushTask(task([life] {}), 0);
        queue.pushTask(task([life, this] { note("ran"); }), 0);
        gate.open();
    }
    EXPECT_EQ(life.use_count(), 1);
}

TEST_F(TaskQueueTest, SeveralThreadsMayWaitForOneQueue) {
    TaskQueue queue(TaskQueue::kParallel);
    block(queue);
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i) {
        waiters.emplace_back([&] {
            queue.wait();
            note("w");
        });
    }
    EXPECT_EQ(notes, "");
    gate.open();
    for (std::thread& waiter : waiters) waiter.join();
    EXPECT_EQ(notes, "www");
}

TEST_F(TaskQueueTest, PartsCoverTheTotalWithoutGapsForAnySize) {
    for (const uint32 total : {1u, 3u, 1000u, 4'000'000'001u}) {
        const TaskQueue::SegmentInParts segment(total);
        EXPECT_EQ(segment.parts, std::min(2 * system().getProcessorCount(), total));
        EXPECT_EQ(segment.begin(0), 0u);
        for (uint32 i = 1; i < segment.parts; ++i) EXPECT_EQ(segment.begin(i), segment.end(i - 1));
        EXPECT_EQ(segment.end(segment.parts - 1), total);
    }
    EXPECT_EQ(TaskQueue::SegmentInParts(0).parts, 0u);
}

using MainQueueTest = TaskQueueTest;

TEST_F(MainQueueTest, TasksRunInTheNextPassOnItsThreadWithWhatTheyPush) {
    TaskQueue queue(TaskQueue::kMain);
    queue.pushTask(task([&] {
                       note("a");
                       queue.pushTask(task([this] { note("b"); }), 0);
                   }),
                   0);
    EXPECT_EQ(notes, "");
    system().getMainPool()->processEvents();
    EXPECT_EQ(notes, "ab");
}

TEST_F(MainQueueTest, AQueuePushedDuringAPassWaitsForTheNext) {
    TaskQueue first(TaskQueue::kMain), second(TaskQueue::kMain);
    first.pushTask(task([&] { second.pushTask(task([this] { note("b"); }), 0); }), 0);
    system().getMainPool()->processEvents();
    EXPECT_EQ(notes, "");
    system().getMainPool()->processEvents();
    EXPECT_EQ(notes, "b");
}

TEST_F(MainQueueTest, DestructionWithWorkPendingDropsItAndLeavesThePool) {
    const auto life = std::make_shared<int>(0);
    {
        TaskQueue queue(TaskQueue::kMain);
        queue.pushTask(task([life] {}), 0);
    }
    system().getMainPool()->processEvents();
    EXPECT_EQ(life.use_count(), 1);
}

TEST_F(MainQueueTest, AnAbortWithWorkPendingSilencesTheQueueForGood) {
    TaskQueue queue(TaskQueue::kMain);
    queue.pushTask(task([this] { note("dropped"); }), 0);
    queue.abort();
    queue.pushTask(task([this] { note("never"); }), 0);
    system().getMainPool()->processEvents();
    EXPECT_EQ(notes, "");
}

TEST_F(MainQueueTest, ATaskMayAbortItsOwnQueue) {
    TaskQueue queue(TaskQueue::kMain);
    queue.pushTask(task([&] { queue.abort(); }), 0);
    queue.pushTask(task([this] { note("dropped"); }), 0);
    system().getMainPool()->processEvents();
    queue.pushTask(task([this] { note("again"); }), 0);
    system().getMainPool()->processEvents();
    EXPECT_EQ(notes, "again");
}

TEST_F(MainQueueTest, AfterAPauseTheTasksRunOnAWorker) {
    TaskQueue queue(TaskQueue::kMain);
    queue.pause();
    std::thread::id thread;
    queue.pushTask(task([&] {
                       thread = std::this_thread::get_id();
                       gate.pass();
                   }),
                   0);
    queue.resume();
    gate.waitForArrivals(1);
    EXPECT_NE(thread, std::this_thread::get_id());
    gate.open();
    while (!queue.empty()) std::this_thread::yield();
}

TEST_F(TaskQueueTest, AnObjectReleasedOnParallelDiesOnAWorker) {
    struct Dying : Object {
        explicit Dying(std::thread::id& id) : thread(id) {}
        ~Dying() override { thread = std::this_thread::get_id(); }
        std::thread::id& thread;
    };
    std::thread::id thread;
    auto* object = new Dying(thread);
    object->increaseReferenceCount();
    object->decreaseReferenceCountAsyncOnParallel();
    system().getGlobalParallelQueue()->wait();
    EXPECT_NE(thread, std::thread::id());
    EXPECT_NE(thread, std::this_thread::get_id());
}

TEST_F(TaskQueueTest, AnExceptionThatLeavesATaskEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            TaskQueue queue(TaskQueue::kParallel);
            queue.pushTask(task([] { throw std::runtime_error("left the task"); }), 0);
            queue.wait();
        },
        "left the task");
}

} // namespace
} // namespace qel
