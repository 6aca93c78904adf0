#include <qel/system/tasks/parallel.h>

#include "../../support/system_fixture.h"

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace qel {
namespace {

/// Counts the calls of each part, and does more in each when asked to.
class CountingKernel : public Parallel::Kernel {
public:
    explicit CountingKernel(unsigned parts, std::function<void()> inEachPart = {})
        : m_calls(parts), m_inEachPart(std::move(inEachPart)) {}

    void prepare(unsigned& parts) override {
        EXPECT_EQ(parts, Object::system()->getProcessorCount());
        parts = static_cast<unsigned>(m_calls.size());
    }
    void execute(unsigned index) override {
        ++m_calls.at(index);
        if (m_inEachPart) m_inEachPart();
    }
    void finish() override {
        ++finished;
        EXPECT_EQ(std::this_thread::get_id(), m_caller);
        for (const auto& count : m_calls) EXPECT_EQ(count, 1);
    }

    int finished = 0;

private:
    const std::thread::id m_caller = std::this_thread::get_id();
    std::vector<std::atomic<int>> m_calls;
    std::function<void()> m_inEachPart;
};

using ParallelTest = test::SystemFixture;

TEST_F(ParallelTest, RunsEveryPartOnceAndFinishesOnTheCaller) {
    for (const unsigned parts : {0u, 1u, 2u, 3u, 1000u}) {
        CountingKernel kernel(parts);
        system().execute(kernel);
        EXPECT_EQ(kernel.finished, 1) << parts;
    }
    const auto caller = std::this_thread::get_id();
    CountingKernel single(1, [&] { EXPECT_EQ(std::this_thread::get_id(), caller); });
    system().execute(single);
}

TEST_F(ParallelTest, KernelsMayNestAndSeveralThreadsMayUseOneParallel) {
    Parallel parallel;
    std::atomic<int> finished{0};
    const auto runInner = [&] {
        CountingKernel inner(5);
        parallel.execute(inner);
        finished += inner.finished;
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 20; ++n) {
                CountingKernel outer(8, runInner);
                parallel.execute(outer);
                finished += outer.finished;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(finished, 3 * 20 * (8 + 1));
}

} // namespace
} // namespace qel
