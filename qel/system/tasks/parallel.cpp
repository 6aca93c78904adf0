#include <qel/system/tasks/parallel.h>

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/platform/cpu.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/thread_pool.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <system_error>

namespace qel {

namespace {

/// One execution of a kernel. The caller and the workers take parts until none is left; a worker that comes
/// too late finds none and never accesses the kernel.
class KernelTask final : public TaskQueue::Task {
public:
    KernelTask(ParallelKernel& kernel, uint32 parts) : m_kernel(kernel), m_parts(parts), m_remaining(parts) {}

    void execute(TaskContext&) override { runParts(); }

    /// Runs parts until all are taken, the last part first. An exception terminates the process on the
    /// calling thread too, since the kernel must not be destroyed while others run parts of it.
    void runParts() noexcept {
        uint32 ended = 0;
        int64 index = 0;
        do {
            index = m_remaining.fetch_sub(1, std::memory_order_relaxed) - 1;
            if (index < 0) break;
            m_kernel.execute(static_cast<uint32>(index));
            ++ended;
        } while (index > 0);
        if (ended == 0 || m_ended.fetch_add(ended) + ended != m_parts || !m_callerSleeps.load()) return;
        MutexLock lock(m_mutex);
        m_allEnded.notify_one();
    }

    /// Blocks until the parts that others have taken have ended.
    void waitForOthers(const ThreadPool& pool) {
        constexpr int kRounds = 200;
        for (int round = 0; round < kRounds && !hasEnded(); ++round) {
            if (pool.isEveryProcessorBusy()) break;
            platform::relaxCpu();
        }
        if (hasEnded()) return;
        MutexLock lock(m_mutex);
        m_callerSleeps.store(true);
        while (!hasEnded()) m_allEnded.wait(lock.standard());
    }

private:
    bool hasEnded() const { return m_ended.load() == m_parts; }

    ParallelKernel& m_kernel;
    const uint32 m_parts;
    std::atomic<int64> m_remaining; // parts not yet taken; below 0 when several found none
    std::atomic<uint32> m_ended{0};
    std::atomic<bool> m_callerSleeps{false};
    Mutex m_mutex;
    std::condition_variable m_allEnded;
};

} // namespace

Parallel::Parallel() : m_queue(TaskQueue::kParallel) {}

void Parallel::execute(Kernel& kernel) {
    const unsigned processors = system()->getProcessorCount();
    unsigned parts = processors;
    kernel.prepare(parts);
    if (parts == 1) {
        kernel.execute(0);
    } else if (parts >= 2) {
        const SmartPointer<KernelTask> task(new KernelTask(kernel, parts));
        try {
            m_queue.pushTaskN(std::min(parts - 1, processors), task.get(), 0);
        } catch (const std::system_error&) {
            // Without workers, this thread runs all parts.
        }
        task->runParts();
        task->waitForOthers(*system()->getThreadPool());
    }
    kernel.finish();
}

} // namespace qel
