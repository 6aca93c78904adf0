#include <qel/system/tasks/thread_pool.h>

#include "../../support/system_fixture.h"
#include "gate.h"

#include <string>
#include <thread>

namespace qel {
namespace {

class ThreadPoolTest : public test::SystemFixture {
protected:
    ThreadPool& pool() { return *system().getThreadPool(); }
    unsigned limit() { return system().getProcessorCount() + 1; }
    /// Runs the main loop's sweep @p milliseconds later.
    void sweepAfter(int64 milliseconds) {
        clock.advanceMs(milliseconds);
        system().getTime();
        pool().processEvents();
    }

    test::Gate gate;
};

TEST_F(ThreadPoolTest, StartsAsManyThreadsAsTasksUpToTheLimit) {
    EXPECT_EQ(pool().getNumberOfThreads(), 0u);
    TaskQueue queue(TaskQueue::kParallel);
    test::push(queue, 100, [this] { gate.pass(); });
    gate.waitForArrivals(limit());
    EXPECT_EQ(pool().getNumberOfThreads(), limit());
    EXPECT_EQ(pool().getNumberOfIdleThreads(), 0u);
    gate.open();
}

TEST_F(ThreadPoolTest, BlockedIOMakesRoomForThreadsThatCompute) {
    TaskQueue io(TaskQueue::kBlockingDestructor), computing(TaskQueue::kParallel);
    test::push(io, 10, [this] { gate.pass(); });
    gate.waitForArrivals(10);
    test::push(computing, 4, [] {});
    computing.wait();
    EXPECT_LE(pool().getNumberOfThreads(), limit() + 10);
    gate.open();
}

TEST_F(ThreadPoolTest, HighPriorityIsServedFirst) {
    test::Gate one;
    TaskQueue blocking(TaskQueue::kParallel), normal(3), high(TaskQueue::kHighPriorityBit | 4);
    test::push(blocking, limit() - 1, [this] { gate.pass(); });
    test::push(blocking, 1, [&] { one.pass(); });
    one.waitForArrivals(1);
    gate.waitForArrivals(limit() - 1);
    std::string order;
    test::push(normal, 1, [&] { order += "normal"; });
    test::push(high, 1, [&] { order += "high "; });
    one.open(); // one thread goes on and takes both
    normal.wait();
    gate.open();
    EXPECT_EQ(order, "high normal");
}

TEST_F(ThreadPoolTest, ThreadsAboveTheLimitEndAfterThirtySecondsOfSilenceThoughTheTimeWraps) {
    sweepAfter((int64{1} << 32) - 10'000);
    TaskQueue queue(TaskQueue::kBlockingDestructor);
    test::push(queue, 12, [this] { gate.pass(); });
    gate.waitForArrivals(12);
    gate.open();
    queue.wait();
    const unsigned grown = pool().getNumberOfThreads();
    EXPECT_GE(grown, 12u);
    while (pool().getNumberOfIdleThreads() < grown) std::this_thread::yield();
    sweepAfter(29'000);
    sweepAfter(900); // too early for a sweep, and for the thirty seconds
    EXPECT_EQ(pool().getNumberOfThreads(), grown);
    sweepAfter(3'000);
    while (pool().getNumberOfThreads() != limit()) std::this_thread::yield();
    sweepAfter(100'000);
    EXPECT_EQ(pool().getNumberOfThreads(), limit());
}

} // namespace
} // namespace qel
