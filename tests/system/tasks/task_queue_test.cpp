#include <qel/system/tasks/task_queue.h>

#include <qel/foundation/base/smart_pointer.h>
#include <qel/system/tasks/main_pool.h>

#include "../../support/system_fixture.h"
#include "gate.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

namespace qel {
namespace {

using test::push;
using test::task;

class TaskQueueTest : public test::SystemFixture {
protected:
    /// Occupies @p queue with a task that waits at the gate.
    void block(TaskQueue& queue) {
        push(queue, 1, [this] { gate.pass(); });
        gate.waitForArrivals(1);
    }
    /// A task that notes @p what, and shares @p life until it dies.
    auto note(const char* what) {
        return [this, what, life = life] { notes += what; };
    }
    void runMainQueues() { system().getMainPool()->processEvents(); }

    test::Gate gate;
    std::string notes; // of one thread at a time
    std::shared_ptr<int> life = std::make_shared<int>(0);
};

TEST_F(TaskQueueTest, ADisabledQueueDropsTasksAndDeletesFreshOnes) {
    struct DisabledQueue : TaskQueue {
        DisabledQueue() : TaskQueue(kParallel) { disable(); }
    } disabled;
    const SmartPointer<TaskQueue::Task> held(task(note("never")));
    for (TaskQueue::Task* dropped : {held.get(), task(note("never"))}) disabled.pushTask(dropped, 1);
    EXPECT_EQ(life.use_count(), 2);
    EXPECT_EQ(held->getReferenceCount(), 1);
    EXPECT_EQ(disabled.getWorkload(), 0u);
    EXPECT_TRUE(disabled.isAborting());
}

TEST_F(TaskQueueTest, ACountOfZeroDoesNothing) {
    TaskQueue queue(TaskQueue::kParallel);
    const SmartPointer<TaskQueue::Task> held(task(note("never")));
    queue.pushTaskN(0, held.get(), 7);
    EXPECT_EQ(held->getReferenceCount(), 1);
    EXPECT_EQ(queue.getWorkload(), 0u);
    EXPECT_TRUE(queue.empty());
}

TEST_F(TaskQueueTest, APushCountsAsQueuedUntilItsLastRunHasBegun) {
    TaskQueue queue(TaskQueue::kDeleteIO);
    test::Gate last;
    block(queue);
    push(queue, 2, [&](TaskContext& context) { (context.getIndex() == 0 ? last : gate).pass(); });
    push(queue, 1, note("end"));
    EXPECT_EQ(queue.getNumberOfQueuedTasks(), 2u);
    gate.open();
    last.waitForArrivals(1);
    EXPECT_EQ(queue.getNumberOfQueuedTasks(), 1u);
    last.open();
    queue.wait();
    EXPECT_EQ(queue.getNumberOfQueuedTasks(), 0u);
}

TEST_F(TaskQueueTest, AnAbortDropsWaitingTasksDuringARun) {
    TaskQueue queue(TaskQueue::kDeleteIO);
    test::Gate running;
    block(queue);
    push(queue, 1, [&] {
        running.pass();
        while (life.use_count() != 1)
            std::this_thread::yield(); // until the tasks after this one are destroyed
        notes += "ended";
    });
    for (int i = 0; i < 3; ++i) push(queue, 2, note("never"));
    gate.open(); // the run takes all of them at once
    running.waitForArrivals(1);
    std::thread opener([&] {
        while (!queue.isAborting()) std::this_thread::yield();
        running.open();
    });
    queue.abort();
    opener.join();
    EXPECT_EQ(notes, "ended");
    EXPECT_EQ(queue.getWorkload(), 0u);
    EXPECT_EQ(queue.getNumberOfQueuedTasks(), 0u);
}

TEST_F(TaskQueueTest, WorkloadsCountUntilTheirRunsHaveEnded) {
    TaskQueue queue(TaskQueue::kDeleteIO, 9);
    test::Gate second;
    block(queue);
    queue.pushTaskN(2, task([] {}), 10);
    push(queue, 1, [&](TaskContext& context) {
        context.changeWorkload(30);
        second.pass();
        while (!context.isAborting()) std::this_thread::yield();
        notes = std::to_string(context.getQueueID());
    });
    EXPECT_EQ(queue.getWorkload(), 22u);
    gate.open();
    second.waitForArrivals(1);
    EXPECT_EQ(queue.getWorkload(), 30u);
    queue.pushBarrier();
    push(queue, 1, note("dropped"));
    EXPECT_EQ(queue.getNumberOfQueuedTasks(), 0u);
    second.open();
    queue.abort();
    EXPECT_EQ(notes, "9");
    EXPECT_FALSE(queue.isAborting());
}

TEST_F(TaskQueueTest, ATaskThatIsDroppedInAPauseMayUseItsQueue) {
    TaskQueue queue(TaskQueue::kDeleteIO);
    const auto useQueue = [&queue](std::string* text) { *text += queue.empty() ? "empty" : "full"; };
    queue.pause();
    push(queue, 1, [probe = std::shared_ptr<std::string>(&notes, useQueue)] {});
    EXPECT_EQ(queue.getNumberOfQueuedTasks(), 0u);
    queue.abort();
    EXPECT_EQ(notes, "empty");
    queue.resume(); // the abort has ended the pause: nothing
}

TEST_F(TaskQueueTest, DestructionDropsWaitingTasks) {
    {
        TaskQueue main(TaskQueue::kMain), paused(TaskQueue::kParallel);
        paused.pause();
        for (TaskQueue* queue : {&main, &paused}) push(*queue, 1, note("never"));
    }
    runMainQueues();
    EXPECT_EQ(life.use_count(), 1);
    EXPECT_EQ(notes, "");
}

TEST_F(TaskQueueTest, PartsCoverTheTotalWithoutGapsForAnySize) {
    for (const uint32 total : {0u, 1u, 3u, 1000u, 4'000'000'001u}) {
        const TaskQueue::SegmentInParts segment(total);
        EXPECT_EQ(segment.parts, std::min(2 * system().getProcessorCount(), total));
        uint32 end = 0;
        for (uint32 i = 0; i < segment.parts; end = segment.end(i++)) EXPECT_EQ(segment.begin(i), end);
        EXPECT_EQ(end, total);
    }
}

using MainQueueTest = TaskQueueTest;

TEST_F(MainQueueTest, APassRunsNoQueueThatJoinsDuringIt) {
    TaskQueue first(TaskQueue::kMain), second(TaskQueue::kMain);
    push(first, 1, [&] {
        for (TaskQueue* queue : {&second, &first}) push(*queue, 1, note(queue == &first ? "a" : "b"));
    });
    for (const char* expected : {"a", "ab"}) {
        runMainQueues();
        EXPECT_EQ(notes, expected);
    }
}

TEST_F(MainQueueTest, AfterAPauseTheTasksRunOnAWorker) {
    TaskQueue queue(TaskQueue::kMain);
    queue.pause();
    push(queue, 1, [] {});
    queue.resume();
    while (!queue.empty()) std::this_thread::yield(); // this thread runs no task meanwhile
}

TEST_F(MainQueueTest, AnAbortWithWorkPendingEndsTheQueue) {
    TaskQueue silenced(TaskQueue::kMain), inTask(TaskQueue::kMain);
    push(inTask, 1, [&] { inTask.abort(); });
    for (TaskQueue* queue : {&silenced, &inTask}) push(*queue, 1, note("dropped"));
    silenced.abort();
    runMainQueues();
    push(silenced, 1, note("never"));
    push(inTask, 1, note("again"));
    runMainQueues();
    EXPECT_EQ(notes, "again");
}

TEST_F(TaskQueueTest, AReleaseOnParallelWaitsForTheQueue) {
    const WeakPointer<Object> weak(new Object);
    weak->increaseReferenceCount();
    system().getGlobalParallelQueue()->pause();
    weak->decreaseReferenceCountAsyncOnParallel();
    EXPECT_TRUE(weak);
    system().getGlobalParallelQueue()->resume();
    system().getGlobalParallelQueue()->wait();
    EXPECT_FALSE(weak);
}

TEST_F(TaskQueueTest, AnExceptionThatLeavesATaskEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            TaskQueue queue(TaskQueue::kParallel);
            push(queue, 1, [] { throw std::runtime_error("left the task"); });
            queue.wait();
        },
        "left the task");
}

} // namespace
} // namespace qel
