// Queues, pools and parallel kernels. A round consists of a push and the wait for its end, unless the name
// differs.
#include <qel/system/core/system.h>
#include <qel/system/tasks/parallel.h>
#include <qel/system/tasks/task_queue.h>

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

#if QEL_PEER_BOOST
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>
#endif
#if QEL_PEER_GLIB
#include <glib.h>
#endif
#if QEL_PEER_TBB
#include <tbb/parallel_for.h>
#include <tbb/task_group.h>
#endif

namespace {

constexpr int kWorkers = 2;
constexpr int kManyTasks = 1000;

/// A System for one benchmark.
class RunningSystem {
public:
    RunningSystem() { qel::System::initialize({}); }
    ~RunningSystem() { qel::System::deinitialize(); }
};

/// For pools without a wait of their own: counts tasks down and wakes the thread that waits for the last one.
class Latch {
public:
    explicit Latch(int count) : m_count(count) {}
    void countDown() {
        if (m_count.fetch_sub(1) != 1) return;
        const std::lock_guard lock(m_mutex);
        m_done = true;
        m_changed.notify_one();
    }
    void wait() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_done; });
    }

private:
    std::atomic<int> m_count;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_done = false;
};

/// Work that the compiler cannot remove: a chain of @p steps multiplications.
uint64_t compute(int64_t steps) {
    uint64_t value = 1;
    for (int64_t i = 0; i < steps; ++i) benchmark::DoNotOptimize(value = value * 6364136223846793005u + 1);
    return value;
}

/// Returns the number of steps of compute() that take about a millisecond.
int64_t stepsOfMillisecond() {
    static const int64_t steps = [] {
        constexpr int64_t kProbe = 2'000'000;
        compute(kProbe);
        const auto start = std::chrono::steady_clock::now();
        compute(kProbe);
        const auto duration = std::chrono::steady_clock::now() - start;
        return static_cast<int64_t>(kProbe / std::chrono::duration<double, std::milli>(duration).count());
    }();
    return steps;
}

void runsQel(benchmark::State& state) {
    const RunningSystem system;
    qel::TaskQueue queue(qel::TaskQueue::kParallel);
    const auto runs = static_cast<unsigned>(state.range(0));
    for (auto _ : state) {
        queue.pushTaskN(runs, new qel::TaskQueue::LambdaNoContextTask([] {}), 0);
        queue.wait();
    }
}
BENCHMARK(runsQel)->Name("Runs/Two/qel")->Arg(2)->UseRealTime();
BENCHMARK(runsQel)->Name("Runs/Thousand/qel")->Arg(kManyTasks)->UseRealTime();

void coldQel(benchmark::State& state) {
    const RunningSystem system;
    qel::TaskQueue queue(qel::TaskQueue::kParallel);
    for (auto _ : state) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2)); // by now the workers are asleep
        const auto start = std::chrono::steady_clock::now();
        queue.pushTask(new qel::TaskQueue::LambdaNoContextTask([] {}), 0);
        queue.wait();
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
}
BENCHMARK(coldQel)->Name("Runs/OneCold/qel")->UseManualTime()->Iterations(300)->Repetitions(20);

void serialQel(benchmark::State& state) {
    const RunningSystem system;
    qel::TaskQueue queue(qel::TaskQueue::kDeleteIO);
    for (auto _ : state) {
        for (int i = 0; i < kManyTasks; ++i) {
            queue.pushTask(new qel::TaskQueue::LambdaNoContextTask([] {}), 0);
        }
        queue.wait();
    }
}
BENCHMARK(serialQel)->Name("Serial/Thousand/qel")->UseRealTime();

/// A kernel of equal parts that together take about @p milliseconds on one thread.
class ComputeKernel : public qel::Parallel::Kernel {
public:
    ComputeKernel(unsigned parts, int64_t steps) : m_parts(parts), m_steps(steps) {}
    void prepare(unsigned& parts) override { parts = m_parts; }
    void execute(unsigned) override { compute(m_steps / m_parts); }

private:
    unsigned m_parts;
    int64_t m_steps;
};

void kernelQel(benchmark::State& state) {
    const RunningSystem system;
    qel::Parallel parallel;
    const auto parts = static_cast<unsigned>(state.range(0));
    ComputeKernel kernel(parts, state.range(1) * stepsOfMillisecond());
    for (auto _ : state) parallel.execute(kernel);
}
BENCHMARK(kernelQel)->Name("Kernel/EmptyTwoParts/qel")->Args({2, 0})->UseRealTime();
BENCHMARK(kernelQel)->Name("Kernel/EmptyThousandParts/qel")->Args({kManyTasks, 0})->UseRealTime();
BENCHMARK(kernelQel)->Name("Kernel/Millisecond/qel")->Args({4, 1})->UseRealTime();
BENCHMARK(kernelQel)->Name("Kernel/MillisecondOneThread/qel")->Args({1, 1})->UseRealTime();

void queueMillisecondQel(benchmark::State& state) {
    const RunningSystem system;
    qel::TaskQueue queue(qel::TaskQueue::kParallel);
    const int64_t steps = stepsOfMillisecond() / 4;
    for (auto _ : state) {
        queue.pushTaskN(4, new qel::TaskQueue::LambdaNoContextTask([steps] { compute(steps); }), 0);
        queue.wait();
    }
}
BENCHMARK(queueMillisecondQel)->Name("Runs/Millisecond/qel")->UseRealTime();

#if QEL_PEER_BOOST
void runsAsio(benchmark::State& state) {
    boost::asio::thread_pool pool(kWorkers);
    for (auto _ : state) {
        Latch latch(static_cast<int>(state.range(0)));
        for (int64_t i = 0; i < state.range(0); ++i) boost::asio::post(pool, [&] { latch.countDown(); });
        latch.wait();
    }
}
BENCHMARK(runsAsio)->Name("Runs/Two/asio")->Arg(2)->UseRealTime();
BENCHMARK(runsAsio)->Name("Runs/Thousand/asio")->Arg(kManyTasks)->UseRealTime();

void coldAsio(benchmark::State& state) {
    boost::asio::thread_pool pool(kWorkers);
    for (auto _ : state) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        const auto start = std::chrono::steady_clock::now();
        Latch latch(1);
        boost::asio::post(pool, [&] { latch.countDown(); });
        latch.wait();
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
}
BENCHMARK(coldAsio)->Name("Runs/OneCold/asio")->UseManualTime()->Iterations(300)->Repetitions(20);

void serialAsio(benchmark::State& state) {
    boost::asio::thread_pool pool(kWorkers);
    auto strand = boost::asio::make_strand(pool);
    for (auto _ : state) {
        Latch latch(kManyTasks);
        for (int i = 0; i < kManyTasks; ++i) boost::asio::post(strand, [&] { latch.countDown(); });
        latch.wait();
    }
}
BENCHMARK(serialAsio)->Name("Serial/Thousand/asio")->UseRealTime();
#endif

#if QEL_PEER_GLIB
void runsGlib(benchmark::State& state) {
    auto countDown = [](gpointer latch, gpointer) { static_cast<Latch*>(latch)->countDown(); };
    GThreadPool* pool = g_thread_pool_new(countDown, nullptr, kWorkers, TRUE, nullptr);
    for (auto _ : state) {
        Latch latch(static_cast<int>(state.range(0)));
        for (int64_t i = 0; i < state.range(0); ++i) g_thread_pool_push(pool, &latch, nullptr);
        latch.wait();
    }
    g_thread_pool_free(pool, FALSE, TRUE);
}
BENCHMARK(runsGlib)->Name("Runs/Two/glib")->Arg(2)->UseRealTime();
BENCHMARK(runsGlib)->Name("Runs/Thousand/glib")->Arg(kManyTasks)->UseRealTime();
#endif

#if QEL_PEER_TBB
void runsTbb(benchmark::State& state) {
    tbb::task_group group;
    for (auto _ : state) {
        for (int64_t i = 0; i < state.range(0); ++i) group.run([] {});
        group.wait();
    }
}
BENCHMARK(runsTbb)->Name("Runs/Two/tbb")->Arg(2)->UseRealTime();
BENCHMARK(runsTbb)->Name("Runs/Thousand/tbb")->Arg(kManyTasks)->UseRealTime();

void kernelTbb(benchmark::State& state) {
    const int64_t steps = state.range(1) * stepsOfMillisecond() / state.range(0);
    for (auto _ : state) {
        tbb::parallel_for(int64_t{0}, state.range(0), [steps](int64_t) { compute(steps); });
    }
}
BENCHMARK(kernelTbb)->Name("Kernel/EmptyTwoParts/tbb")->Args({2, 0})->UseRealTime();
BENCHMARK(kernelTbb)->Name("Kernel/EmptyThousandParts/tbb")->Args({kManyTasks, 0})->UseRealTime();
BENCHMARK(kernelTbb)->Name("Kernel/Millisecond/tbb")->Args({4, 1})->UseRealTime();
#endif

} // namespace
