#include <qel/system/tasks/thread_pool.h>

#include <qel/system/tasks/task_queue.h>

#include "../../support/system_fixture.h"
#include "gate.h"

#include <atomic>
#include <string>
#include <thread>

namespace qel {
namespace {

using test::Gate;

class ThreadPoolTest : public test::SystemFixture {
protected:
    using SystemFixture::SystemFixture;

    ThreadPool& pool() { return *system().getThreadPool(); }
    unsigned limit() { return system().getProcessorCount() + 1; }
    /// Runs @p count tasks at once on an IO queue and leaves as many threads behind.
    void growTo(unsigned count) {
        Gate gate;
        TaskQueue queue(TaskQueue::kBlockingDestructor);
        queue.pushTaskN(count, new TaskQueue::LambdaNoContextTask([&] { gate.pass(); }), 0);
        gate.waitForArrivals(static_cast<int>(count));
        gate.open();
        queue.wait();
        while (pool().getNumberOfIdleThreads() < pool().getNumberOfThreads()) std::this_thread::yield();
    }
    /// Runs the main loop's sweep @p milliseconds later.
    void sweepAfter(int64 milliseconds) {
        clock.advanceMs(milliseconds);
        system().getTime();
        pool().processEvents();
    }
    void waitForThreads(unsigned count) {
        while (pool().getNumberOfThreads() != count) std::this_thread::yield();
    }
};

TEST_F(ThreadPoolTest, StartsNoThreadBeforeThereIsWork) {
    EXPECT_EQ(pool().getNumberOfThreads(), 0u);
}

TEST_F(ThreadPoolTest, StartsAsManyThreadsAsTasksUpToTheLimit) {
    Gate gate;
    TaskQueue queue(TaskQueue::kParallel);
    queue.pushTaskN(100, new TaskQueue::LambdaNoContextTask([&] { gate.pass(); }), 0);
    gate.waitForArrivals(static_cast<int>(limit()));
    EXPECT_EQ(pool().getNumberOfThreads(), limit());
    EXPECT_EQ(pool().getNumberOfIdleThreads(), 0u);
    gate.open();
    queue.wait();
    EXPECT_EQ(pool().getNumberOfThreads(), limit());
}

TEST_F(ThreadPoolTest, EveryRunningTaskOfAnIOQueueMakesRoomForOneMoreThread) {
    growTo(10);
    EXPECT_GE(pool().getNumberOfThreads(), 10u);
    EXPECT_LE(pool().getNumberOfThreads(), limit() + 10);
}

TEST_F(ThreadPoolTest, BlockedIODoesNotKeepComputationsWaiting) {
    Gate blocked;
    TaskQueue io(TaskQueue::kBlockingDestructor), computing(TaskQueue::kParallel);
    io.pushTaskN(8, new TaskQueue::LambdaNoContextTask([&] { blocked.pass(); }), 0);
    blocked.waitForArrivals(8);
    std::atomic<int> ran{0};
    computing.pushTaskN(4, new TaskQueue::LambdaNoContextTask([&] { ++ran; }), 0);
    computing.wait();
    EXPECT_EQ(ran, 4);
    blocked.open();
}

TEST_F(ThreadPoolTest, HighPriorityIsServedFirst) {
    Gate others, one;
    TaskQueue blocking(TaskQueue::kParallel), normal(3), high(TaskQueue::kHighPriorityBit | 4);
    blocking.pushTaskN(limit() - 1, new TaskQueue::LambdaNoContextTask([&] { others.pass(); }), 0);
    blocking.pushTask(new TaskQueue::LambdaNoContextTask([&] { one.pass(); }), 0);
    one.waitForArrivals(1);
    others.waitForArrivals(static_cast<int>(limit() - 1));
    std::string order;
    normal.pushTask(new TaskQueue::LambdaNoContextTask([&] { order += "normal"; }), 0);
    high.pushTask(new TaskQueue::LambdaNoContextTask([&] { order += "high "; }), 0);
    one.open(); // one thread goes on and takes both
    normal.wait();
    others.open();
    EXPECT_EQ(order, "high normal");
}

class SweepTest : public ThreadPoolTest, public ::testing::WithParamInterface<int64> {
protected:
    /// Moves the System's clock to where the parameter says before anything happens.
    void SetUp() override {
        ThreadPoolTest::SetUp();
        clock.advanceMs(GetParam());
        system().getTime();
        pool().processEvents();
    }
};

TEST_P(SweepTest, ThreadsAboveTheLimitEndAfterThirtySecondsOfSilence) {
    growTo(12);
    const unsigned grown = pool().getNumberOfThreads();
    sweepAfter(29'000);
    sweepAfter(900); // too early for a sweep, and for the thirty seconds
    EXPECT_EQ(pool().getNumberOfThreads(), grown);
    sweepAfter(3'000);
    waitForThreads(limit());
    sweepAfter(100'000);
    EXPECT_EQ(pool().getNumberOfThreads(), limit());
}

INSTANTIATE_TEST_SUITE_P(Clock, SweepTest,
                         ::testing::Values(int64{0}, (int64{1} << 32) - 10'000 /* wraps in between */));

} // namespace
} // namespace qel
