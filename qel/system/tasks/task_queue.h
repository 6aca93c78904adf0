// TaskQueue: an ordered queue of tasks and the rule for how many of them may run at once.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>
#include <qel/system/tasks/spin_budget.h>

#include <atomic>
#include <condition_variable>
#include <list>
#include <utility>
#include <vector>

namespace qel {

class TaskContext;

/// Holds tasks in the order in which they were pushed. The workers of ThreadPool run them, or, for a main
/// queue, the main thread in each pass of System::processEvents.
///
/// A serial queue runs one task at a time. A parallel queue runs as many at once as there are workers. Tasks
/// start in order; nothing after a barrier starts before everything in front of it has ended.
///
/// A queue may be a member or a local variable. Its destructor drops the waiting tasks and waits for the
/// running ones; one of its own tasks must not destroy it. Queues must be destroyed before the pools.
///
/// Lock order: a queue's mutex before a pool's.
class QEL_API TaskQueue : public Object {
    QEL_CLASS(TaskQueue, Object)

public:
    /// The properties of a queue: a set of bits. Bits 0 to 7 are a number that distinguishes similar queues;
    /// the value 0 is a main queue.
    using Type = uint32;

    static constexpr Type kIOBit = 0x200;       ///< runs block on IO, so they do not count as busy threads
    static constexpr Type kParallelBit = 0x400; ///< several tasks may run at once
    static constexpr Type kHighPriorityBit = 0x800; ///< workers serve it first

    static constexpr Type kMain = 0;                  ///< main thread, serial
    static constexpr Type kParallel = 1026;           ///< parallel, normal priority
    static constexpr Type kDeleteIO = 2567;           ///< serial, IO, high priority
    static constexpr Type kBlockingDestructor = 3592; ///< parallel, IO, high priority

    /// A piece of work. A task that is pushed N times is one object to which the queue holds N references.
    class QEL_API Task : public Object {
        QEL_CLASS(Task, Object)

    public:
        /// Does the work of one run. An exception that leaves it terminates the process.
        /// @threads a worker, or the main thread for a main queue; runs of one task may overlap.
        virtual void execute(TaskContext& context) = 0;
    };

    /// A task that calls a callable with its TaskContext.
    template <typename F>
    class LambdaTask final : public Task {
    public:
        /// Keeps @p callable until the task is destroyed.
        explicit LambdaTask(F callable) : m_callable(std::move(callable)) {}
        void execute(TaskContext& context) override { static_cast<void>(m_callable(context)); }

    private:
        F m_callable;
    };

    /// A task that calls a callable without arguments and ignores its result.
    template <typename F>
    class LambdaNoContextTask final : public Task {
    public:
        /// Keeps @p callable until the task is destroyed.
        explicit LambdaNoContextTask(F callable) : m_callable(std::move(callable)) {}
        void execute(TaskContext&) override { static_cast<void>(m_callable()); }

    private:
        F m_callable;
    };

    /// Splits a total into parts for pushTaskN: two for each processor, so that fast workers can take over
    /// from slow ones, but no more than the total.
    struct QEL_API SegmentInParts {
        /// Splits @p totalCount items. System must exist.
        explicit SegmentInParts(uint32 totalCount);
        /// Returns the first item of part @p part.
        uint32 begin(uint32 part) const { return static_cast<uint32>(uint64{total} * part / parts); }
        /// Returns one past the last item of part @p part.
        uint32 end(uint32 part) const { return begin(part + 1); }

        uint32 total; ///< number of items
        uint32 parts; ///< number of parts
    };

    /// Creates an idle queue. @param queueID  any number; TaskContext::getQueueID() returns it.
    explicit TaskQueue(Type type, int queueID = 0);
    TaskQueue(const TaskQueue&) = delete;
    TaskQueue& operator=(const TaskQueue&) = delete;
    /// Drops the waiting tasks and blocks until the running ones have ended.
    ~TaskQueue() override;

    /// Runs @p task once; same as pushTaskN with a count of 1.
    void pushTask(Task* task, unsigned workload);
    /// Runs @p task @p count times; TaskContext::getIndex() counts down from count - 1 to 0. A count of 0 has
    /// no effect.
    /// @param workload  added to getWorkload() for each run; no unit, 0 is fine.
    /// @owner    takes @p count references; a task that nobody else holds is destroyed after its last run.
    /// @errors   on a disabled queue the task is dropped without a log line. Throws std::system_error if a
    ///           worker is needed and cannot be started; the task stays queued then.
    /// @threads  any thread; takes the queue's lock, then possibly the pool's.
    void pushTaskN(unsigned count, Task* task, unsigned workload);
    /// Lets tasks pushed from now on start only after everything pushed before has ended. Has no effect on an
    /// idle queue. @threads any thread.
    void pushBarrier();

    /// Blocks until nothing runs or waits; tasks pushed from then on wait for resume(). Not for main queues.
    /// @threads any thread except a worker of this queue.
    void pause();
    /// Ends a pause and starts the tasks pushed meanwhile. Has no effect without a pause. The tasks run on
    /// workers whatever the type is, even those of a main queue. @threads any thread.
    void resume();
    /// Drops all waiting tasks and, on a worker queue, blocks until the running ones have ended; then the
    /// queue takes tasks again. A main queue that is aborted with work pending never runs again.
    /// @threads any thread except a worker of this queue.
    void abort();
    /// Blocks until nothing runs or waits. Must not be called for a main queue.
    /// @threads any thread except a worker of this queue.
    void wait();

    /// Returns true if nothing runs or waits in front of a barrier. @threads any thread.
    bool empty() const;
    /// Returns the number of waiting pushes that may run now. Pushes after a barrier are not counted, and a
    /// push counts once, whatever its count, until its last run has begun. @threads any thread.
    unsigned getNumberOfQueuedTasks() const;
    /// Returns the sum of the workloads of waiting and running tasks, a measure of the backlog.
    /// @threads any thread.
    unsigned getWorkload() const { return m_workload.load(std::memory_order_relaxed); }
    /// Returns true while the queue is disabled or being aborted; running tasks poll it to end early.
    /// @threads any thread.
    bool isAborting() const { return m_aborting.load(std::memory_order_acquire); }

    /// Returns the type given to the constructor.
    Type getType() const { return m_type; }
    /// Returns the number given to the constructor.
    int getQueueID() const { return m_queueID; }
    /// Returns true if the tasks run on the main thread.
    bool isMainQueue() const { return m_type == kMain; }
    /// Returns true if runs block on IO.
    bool isIOQueue() const { return (m_type & kIOBit) != 0; }
    /// Returns true if several tasks may run at once.
    bool isParallelQueue() const { return (m_type & kParallelBit) != 0; }
    /// Returns true if workers serve the queue first.
    bool isHighPriQueue() const { return (m_type & kHighPriorityBit) != 0; }

    /// Runs tasks until none is left. Only the pools call it.
    void processTasks();

protected:
    /// Drops all waiting tasks and every task pushed from now on. On a worker queue it blocks until the
    /// running tasks have ended.
    void disable();

private:
    friend class TaskContext;
    friend class ThreadPool;

    struct Entry;

    /// Pushes in order. Only the first may have no runs left; the thread that takes the next one removes it.
    struct Entries {
        Entry* first = nullptr;
        Entry* last = nullptr;
        uint32 count = 0;
    };

    /// Tasks that were removed from the queue before they ran, with the number of references to them.
    using Dropped = std::vector<Pair<Task*, uint32>>;

    static void append(Entries& entries, Entry* entry);
    static void removeFirst(Entries& entries);
    static void release(const Dropped& dropped);

    bool takesBatches() const { return !isParallelQueue() && !isMainQueue(); }
    void takeBatchLocked() QEL_REQUIRES(m_mutex);
    void runBatch(Entries& used);
    static void deleteAll(Entry* entry);
    Entry* popBatch();
    void linger() const;
    Entry* takeFrontLocked() QEL_REQUIRES(m_mutex);
    void leaveLocked(Entry* entry) QEL_REQUIRES(m_mutex);
    void runEntry(Entry& entry);
    void schedule(uint32 runs);
    bool startNextSegmentLocked() QEL_REQUIRES(m_mutex);
    void withdrawRunsLocked() QEL_REQUIRES(m_mutex);
    void setActiveCountLocked(uint32 count) QEL_REQUIRES(m_mutex);
    uint32 activeCount() const { return m_activeCount.load(std::memory_order_relaxed); }
    void disableMainQueue();
    void disableWorkerQueue();
    void dropBatch(Dropped& dropped);
    void dropEntriesLocked(Entries& entries, Dropped& dropped) QEL_REQUIRES(m_mutex);
    void drop(Entry& entry, Dropped& dropped);
    void dropSegmentsLocked(Dropped& dropped) QEL_REQUIRES(m_mutex);
    void waitBriefly();
    bool hasBriefWaiter() const { return m_briefWaiters.load(std::memory_order_relaxed) != 0; }

    const Type m_type;
    const int m_queueID;
    std::atomic<bool> m_aborting{false};
    std::atomic<uint32> m_workload{0};
    std::atomic<uint32> m_briefWaiters{0}; // threads in wait() that are not asleep
    internal::SpinBudget m_waitBudget;

    mutable Mutex m_mutex; // taken before ThreadPool's and MainPool's
    std::condition_variable m_idle;
    std::atomic<uint32> m_activeCount{0}; // runs scheduled or in progress; written under the mutex
    uint32 m_runningCount QEL_GUARDED_BY(m_mutex) = 0;
    Entries m_current QEL_GUARDED_BY(m_mutex);             // what may run now
    std::list<Entries> m_segments QEL_GUARDED_BY(m_mutex); // what waits after each barrier

    // The one run of a serial worker queue takes all that may run now at once, and needs no lock for each
    // task. It leaves the entries to later pushes, since freeing them would make both sides compete for the
    // heap.
    Entry* m_spares QEL_GUARDED_BY(m_mutex) = nullptr;
    alignas(64) std::atomic<Entry*> m_batch{nullptr}; // the first entry that the run has not taken
    std::atomic<uint32> m_batchCount{0};              // pushes in the batch whose last run has not begun
};

/// A running task's view of its queue; lives on the stack of the running thread.
class QEL_API TaskContext {
public:
    /// Returns the queue that the task runs on.
    TaskQueue* getQueue() const { return m_queue; }
    /// Returns the number given to the queue's constructor.
    int getQueueID() const { return m_queue->getQueueID(); }
    /// Returns which run of a task pushed N times this is: N - 1 for the first, 0 for the last.
    unsigned getIndex() const { return m_index; }
    /// Returns true if the task should end early.
    bool isAborting() const { return m_queue->isAborting(); }
    /// Changes the estimate of this run's workload; the queue's sum changes by the difference.
    void changeWorkload(unsigned workload);

private:
    friend class TaskQueue;
    TaskContext(TaskQueue* queue, uint32 index, uint32 workload)
        : m_queue(queue), m_index(index), m_workload(workload) {}

    TaskQueue* m_queue;
    uint32 m_index;
    uint32 m_workload;
};

} // namespace qel
