// ThreadPool: the worker threads that task queues run on.
#pragma once

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>
#include <qel/system/tasks/spin_budget.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <deque>

namespace qel {

class TaskQueue;

/// Runs queues on worker threads. Threads start on demand, at most one more than there are processors, plus
/// one for each run of an IO queue in progress; those above the limit end after 30 seconds without work.
///
/// A worker that runs out of work spins for some microseconds before it goes to sleep, so that a steady flow
/// of short tasks does not pay for waking threads. An idle pool uses no processor time.
class QEL_API ThreadPool : public Object {
    QEL_CLASS(ThreadPool, Object)

public:
    /// Creates a pool without threads. System must exist; it knows the number of processors.
    ThreadPool();
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;
    /// Blocks until every worker has ended.
    ~ThreadPool() override;

    /// Schedules @p units runs of TaskQueue::processTasks on workers and starts threads that are missing.
    /// @owner    the queue must live until the runs have ended or were withdrawn.
    /// @errors   throws std::system_error if a thread cannot be started; the runs stay scheduled.
    /// @threads  any thread.
    void pushQueue(unsigned units, TaskQueue* queue, bool highPriority);
    /// Schedules one run.
    void pushQueue(TaskQueue* queue, bool highPriority) { pushQueue(1, queue, highPriority); }
    /// Cancels the runs of @p queue that no worker has begun. @return their number. @threads any thread.
    unsigned withdrawQueue(TaskQueue* queue, bool highPriority);
    /// Starts a worker that the caller has already counted.
    /// @errors throws std::system_error; the worker is then no longer counted.
    void startWorker();
    /// Every 3000 ms or more, wakes the idle workers above the limit, so that those that have been idle for
    /// too long can end, and starts a worker if runs are scheduled and no worker could be started for them.
    /// @threads main thread.
    void processEvents();

    /// Returns the current number of worker threads. @threads any thread.
    unsigned getNumberOfThreads() const;
    /// Returns the current number of worker threads without work. @threads any thread.
    unsigned getNumberOfIdleThreads() const;
    /// Returns true if at least as many workers run tasks as there are processors; a thread that waits should
    /// then sleep instead of spin. @threads any thread.
    bool isEveryProcessorBusy() const;

private:
    friend class TaskQueue;

    struct Runs {
        TaskQueue* queue;
        uint32 units;
    };

    bool hasPendingRuns() const { return m_pendingUnits.load(std::memory_order_relaxed) != 0; }
    /// Returns true if there is work that no worker has begun, and no worker is busy.
    bool isWaking() const { return hasPendingRuns() && m_runningCount.load(std::memory_order_relaxed) == 0; }
    void pushQueueFromWorker(unsigned units, TaskQueue* queue, bool highPriority);
    uint32 enqueue(unsigned units, TaskQueue* queue, bool highPriority);
    void tryStartWorker();
    void callWorkerForPendingRuns();

    void work();
    TaskQueue* takeUnitLocked() QEL_REQUIRES(m_mutex);
    bool countRunInLocked(const TaskQueue& queue) QEL_REQUIRES(m_mutex);
    void countRunOutLocked(bool isIO) QEL_REQUIRES(m_mutex);
    bool callWorkerLocked() QEL_REQUIRES(m_mutex);
    void lookOut();
    void sleepLocked() QEL_REQUIRES(m_mutex);
    void addPendingLocked(uint32 units) QEL_REQUIRES(m_mutex);

    const uint32 m_idleLimit;
    const uint32 m_processorCount;
    uint32 m_lastSweepTime;                // main thread
    std::atomic<uint32> m_pendingUnits{0}; // sum of the units in m_runs; written under the mutex
    std::atomic<uint32> m_runningCount{0}; // workers inside a queue
    internal::SpinBudget m_lookOutBudget;

    mutable Mutex m_mutex; // taken after every queue's
    std::condition_variable m_wake;
    std::array<std::deque<Runs>, 2> m_runs QEL_GUARDED_BY(m_mutex); // normal, high priority
    uint32 m_maxThreads QEL_GUARDED_BY(m_mutex);
    uint32 m_threads QEL_GUARDED_BY(m_mutex) = 0;
    uint32 m_idleThreads QEL_GUARDED_BY(m_mutex) = 0; // spinning and asleep
    uint32 m_spinning QEL_GUARDED_BY(m_mutex) = 0;    // look out for work before they sleep
    uint32 m_asleep QEL_GUARDED_BY(m_mutex) = 0;
    uint32 m_wakes QEL_GUARDED_BY(m_mutex) = 0; // how many of the sleeping workers have been called
    bool m_running QEL_GUARDED_BY(m_mutex) = true;
};

} // namespace qel
