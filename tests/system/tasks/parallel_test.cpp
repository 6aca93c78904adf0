#include <qel/system/tasks/parallel.h>

#include "../../support/system_fixture.h"

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace qel {
namespace {

/// Counts the calls of each part.
class CountingKernel : public Parallel::Kernel {
public:
    explicit CountingKernel(unsigned parts) : m_parts(parts), calls(parts) {}

    void prepare(unsigned& parts) override {
        offered = parts;
        parts = m_parts;
    }
    void execute(unsigned index) override {
        ++calls.at(index);
        lastThread = std::this_thread::get_id();
        if (nested) nested->execute();
    }
    void finish() override {
        finishedOnCaller = std::this_thread::get_id() == m_caller;
        for (const auto& count : calls) allRanOnce &= count == 1;
        ++finished;
    }

    struct Nested {
        void execute() {
            CountingKernel inner(5);
            parallel.execute(inner);
            if (inner.allRanOnce) ++good;
        }
        Parallel& parallel;
        std::atomic<int> good{0};
    };

private:
    const unsigned m_parts;
    const std::thread::id m_caller = std::this_thread::get_id();

public:
    unsigned offered = 0;
    std::vector<std::atomic<int>> calls;
    std::atomic<std::thread::id> lastThread;
    bool finishedOnCaller = false;
    bool allRanOnce = true;
    int finished = 0;
    Nested* nested = nullptr;
};

using ParallelTest = test::SystemFixture;

TEST_F(ParallelTest, RunsEveryPartOnceAndFinishesOnTheCaller) {
    Parallel parallel;
    for (const unsigned parts : {2u, 3u, 1000u}) {
        CountingKernel kernel(parts);
        parallel.execute(kernel);
        EXPECT_EQ(kernel.offered, system().getProcessorCount());
        EXPECT_TRUE(kernel.allRanOnce);
        EXPECT_TRUE(kernel.finishedOnCaller);
        EXPECT_EQ(kernel.finished, 1);
    }
}

TEST_F(ParallelTest, OnePartRunsOnTheCallerAsPartZero) {
    CountingKernel kernel(1);
    system().execute(kernel);
    EXPECT_EQ(kernel.calls[0], 1);
    EXPECT_EQ(kernel.lastThread.load(), std::this_thread::get_id());
    EXPECT_EQ(kernel.finished, 1);
}

TEST_F(ParallelTest, NoPartRunsNothingButFinishes) {
    CountingKernel kernel(0);
    system().execute(kernel);
    EXPECT_EQ(kernel.finished, 1);
}

TEST_F(ParallelTest, KernelsMayNestOnOneParallel) {
    Parallel parallel;
    CountingKernel::Nested nested{parallel};
    CountingKernel kernel(8);
    kernel.nested = &nested;
    parallel.execute(kernel);
    EXPECT_EQ(nested.good, 8);
}

TEST_F(ParallelTest, SeveralThreadsMayUseOneParallel) {
    Parallel parallel;
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 20; ++n) {
                CountingKernel kernel(16);
                parallel.execute(kernel);
                if (kernel.allRanOnce && kernel.finishedOnCaller) ++good;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(good, 60);
}

} // namespace
} // namespace qel
