#include <qel/system/tasks/parallel.h>
#include <qel/system/tasks/thread_pool.h>

#include "../../support/failing_files.h"
#include "../../support/system_fixture.h"
#include "../../support/threads.h"
#include "gate.h"

#include <atomic>
#include <functional>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace qel {
namespace {

/// Counts the calls of each part and calls a function in each.
struct CountingKernel : Parallel::Kernel {
    CountingKernel(unsigned parts, std::function<void()> inEach)
        : calls(parts), inEachPart(std::move(inEach)) {}

    void prepare(unsigned& parts) override { parts = static_cast<unsigned>(calls.size()); }
    void execute(unsigned index) override {
        ++calls.at(index);
        inEachPart();
    }
    void finish() override {
        ++finished;
        EXPECT_EQ(std::this_thread::get_id(), caller);
        for (const auto& count : calls) EXPECT_EQ(count, 1);
    }

    int finished = 0;
    const std::thread::id caller = std::this_thread::get_id();
    std::vector<std::atomic<int>> calls;
    const std::function<void()> inEachPart;
};

class ThreadPoolTest : public test::SystemFixture {
protected:
    ThreadPool& pool() { return *system().getThreadPool(); }
    unsigned limit() { return system().getProcessorCount() + 1; }
    /// Advances the clock by @p milliseconds and runs the main loop's sweep.
    void sweepAfter(int64 milliseconds) {
        clock.advanceMs(milliseconds);
        system().getTime();
        pool().processEvents();
    }

    test::Gate gate;
};

TEST_F(ThreadPoolTest, StartsThreadsUpToTheLimitBesidesThoseBlockedInIO) {
    TaskQueue io(TaskQueue::kBlockingDestructor), computing(TaskQueue::kParallel);
    test::push(io, 10, [this] { gate.pass(); });
    gate.waitForArrivals(10);
    test::push(computing, 100, [this] { gate.pass(); });
    gate.waitForArrivals(10 + limit());
    EXPECT_EQ(pool().getNumberOfThreads(), 10 + limit());
    gate.open();
}

TEST_F(ThreadPoolTest, ASweepStartsAWorkerThatCouldNotBeStartedBefore) {
    TaskQueue queue(TaskQueue::kParallel);
    {
        const test::FailingFiles noThreads(platform::Operation::StartThread,
                                           std::errc::resource_unavailable_try_again);
        EXPECT_THROW(test::push(queue, 2, [this] { gate.pass(); }), std::system_error);
        EXPECT_EQ(pool().getNumberOfThreads(), 0);
    }
    sweepAfter(3'000);
    gate.waitForArrivals(1);
    EXPECT_EQ(pool().getNumberOfThreads(), 1);
    gate.open();
}

TEST_F(ThreadPoolTest, HighPriorityIsServedFirst) {
    test::Gate one;
    TaskQueue blocking(TaskQueue::kParallel), normal(3), high(TaskQueue::kHighPriorityBit | 4);
    test::push(blocking, limit() - 1, [this] { gate.pass(); });
    test::push(blocking, 1, [&] { one.pass(); });
    gate.waitForArrivals(limit() - 1);
    one.waitForArrivals(1);
    std::string order;
    test::push(normal, 1, [&] { order += "normal"; });
    test::push(high, 1, [&] { order += "high "; });
    one.open(); // one thread continues and takes both
    normal.wait();
    gate.open();
    EXPECT_EQ(order, "high normal");
}

TEST_F(ThreadPoolTest, ThreadsAboveTheLimitEndAfterThirtyIdleSeconds) {
    sweepAfter((int64{1} << 32) - 10'000);
    TaskQueue queue(TaskQueue::kBlockingDestructor);
    test::push(queue, 12, [this] { gate.pass(); });
    gate.waitForArrivals(12);
    gate.open();
    queue.wait();
    const unsigned grown = pool().getNumberOfThreads();
    while (pool().getNumberOfIdleThreads() < grown) std::this_thread::yield();
    sweepAfter(29'000);
    sweepAfter(900); // too early for a sweep, and for the thirty seconds
    EXPECT_EQ(pool().getNumberOfThreads(), grown);
    sweepAfter(3'000);
    while (pool().getNumberOfThreads() != limit()) std::this_thread::yield();
}

TEST_F(ThreadPoolTest, AKernelNeedsNoWorkers) {
    {
        const test::FailingFiles noThreads(platform::Operation::StartThread,
                                           std::errc::resource_unavailable_try_again);
        CountingKernel kernel(3, [] {});
        system().execute(kernel);
        EXPECT_EQ(kernel.finished, 1);
        EXPECT_EQ(pool().getNumberOfThreads(), 0);
    }
    sweepAfter(3'000); // starts a worker, which finds no part left of the kernel that is gone
    TaskQueue(TaskQueue::kParallel).wait();
}

TEST_F(ThreadPoolTest, EveryPartRunsOnceInNestedAndConcurrentKernels) {
    CountingKernel large(1000, [] {});
    system().execute(large);
    Parallel parallel;
    std::atomic<int> finished{0};
    const auto runInner = [&] {
        CountingKernel inner(5, [] {});
        parallel.execute(inner);
        finished += inner.finished;
    };
    test::onThreads(3, [&](int) {
        for (unsigned parts = 0; parts < 20; ++parts) {
            CountingKernel outer(parts, runInner);
            parallel.execute(outer);
            finished += outer.finished;
        }
    });
    EXPECT_EQ(finished, 3 * (20 + 19 * 20 / 2));
}

} // namespace
} // namespace qel
