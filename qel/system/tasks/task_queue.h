// TaskQueue: work in order, and the rule of how much of it may run at once.
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

/// Holds tasks in the order of their pushes and lends them to threads: to the workers of ThreadPool, or, for
/// a main queue, to the main thread in each pass of System::processEvents.
///
/// A serial queue runs one task at a time. A parallel queue runs as many at once as there are workers. Tasks
/// are taken in order; a barrier keeps what follows it from starting before all that precedes it has ended.
///
/// A queue may be a member or a local variable. Its destructor drops what waits and lets what runs finish; it
/// must not be destroyed by one of its own tasks. Queues end before the pools do.
///
/// Lock order: a queue's mutex before a pool's.
class QEL_API TaskQueue : public Object {
    QEL_CLASS(TaskQueue, Object)

public:
    /// The character of a queue: a set of bits. Bits 0 to 7 are a number that tells like queues apart; the
    /// whole value 0 is a main queue.
    using Type = uint32;

    static constexpr Type kIOBit = 0x200;           ///< runs block on IO, so they don't count as busy threads
    static constexpr Type kParallelBit = 0x400;     ///< several tasks may run at once
    static constexpr Type kHighPriorityBit = 0x800; ///< workers serve it first

    static constexpr Type kMain = 0;                  ///< main thread, serial
    static constexpr Type kParallel = 1026;           ///< parallel, normal priority
    static constexpr Type kDeleteIO = 2567;           ///< serial, IO, high priority
    static constexpr Type kBlockingDestructor = 3592; ///< parallel, IO, high priority

    /// A piece of work. Pushed N times it is one object with N references of the queue's.
    class QEL_API Task : public Object {
        QEL_CLASS(Task, Object)

    public:
        /// Does the work of one run. An exception that leaves it ends the process.
        /// @threads a worker, or the main thread for a main queue; runs of one task may overlap.
        virtual void execute(TaskContext& context) = 0;
    };

    /// A task made of a callable that takes a TaskContext&.
    template <typename F>
    class LambdaTask final : public Task {
    public:
        /// Keeps @p callable until the task dies.
        explicit LambdaTask(F callable) : m_callable(std::move(callable)) {}
        void execute(TaskContext& context) override { static_cast<void>(m_callable(context)); }

    private:
        F m_callable;
    };

    /// A task made of a callable that takes nothing; its result, if any, is ignored.
    template <typename F>
    class LambdaNoContextTask final : public Task {
    public:
        /// Keeps @p callable until the task dies.
        explicit LambdaNoContextTask(F callable) : m_callable(std::move(callable)) {}
        void execute(TaskContext&) override { static_cast<void>(m_callable()); }

    private:
        F m_callable;
    };

    /// Splits a total into parts for pushTaskN: twice as many as there are processors, so that fast workers
    /// take over from slow ones, but not more than the total.
    struct QEL_API SegmentInParts {
        /// Splits @p totalCount things. Needs System.
        explicit SegmentInParts(uint32 totalCount);
        /// The first thing of part @p part.
        uint32 begin(uint32 part) const { return static_cast<uint32>(uint64{total} * part / parts); }
        /// One past the last thing of part @p part.
        uint32 end(uint32 part) const { return begin(part + 1); }

        uint32 total; ///< number of things
        uint32 parts; ///< number of parts
    };

    /// An idle queue. @param queueID  what TaskContext::getQueueID() gives; any number.
    explicit TaskQueue(Type type, int queueID = 0);
    TaskQueue(const TaskQueue&) = delete;
    TaskQueue& operator=(const TaskQueue&) = delete;
    /// Drops what waits and blocks until what runs has ended.
    ~TaskQueue() override;

    /// Runs @p task once; as pushTaskN with a count of 1.
    void pushTask(Task* task, unsigned workload);
    /// Runs @p task @p count times; a run's getIndex() goes from count - 1 down to 0. A count of 0 does
    /// nothing.
    /// @param workload  figure added to getWorkload() for each run; no unit, 0 is fine.
    /// @owner    takes @p count references; a task nobody else holds dies after its last run.
    /// @errors   on a disabled queue the task is dropped, without a log line. std::system_error when a worker
    ///           is needed and can't be started; the task stays queued then.
    /// @threads  any thread; takes the queue's lock, then perhaps the pool's.
    void pushTaskN(unsigned count, Task* task, unsigned workload);
    /// What is pushed from now on starts only after everything pushed before has ended. On an idle queue
    /// there is nothing to separate, and nothing happens. @threads any thread.
    void pushBarrier();

    /// Waits until nothing runs or waits; from then on what is pushed waits for resume().
    /// @threads any thread but a worker of this queue. Not for main queues.
    void pause();
    /// Ends a pause and starts what was pushed meanwhile. Without a pause nothing happens. It goes to the
    /// workers whatever the type, so the tasks of a main queue would run there. @threads any thread.
    void resume();
    /// Drops everything that waits and, on a worker queue, blocks until what runs has ended; then the queue
    /// takes tasks again. A main queue that is aborted with work pending never runs again.
    /// @threads any thread but a worker of this queue.
    void abort();
    /// Blocks until nothing runs or waits. Nobody is to wait for a main queue.
    /// @threads any thread but a worker of this queue.
    void wait();

    /// Whether nothing runs or waits in front of a barrier. @threads any thread.
    bool empty() const;
    /// How many pushes wait that may run now: what is behind a barrier isn't counted, and a push counts once
    /// whatever its count, until its last run has begun. @threads any thread.
    unsigned getNumberOfQueuedTasks() const;
    /// The sum of the workloads of waiting and running tasks: a figure to judge the backlog by.
    /// @threads any thread.
    unsigned getWorkload() const { return m_workload.load(std::memory_order_relaxed); }
    /// Whether the queue is disabled or being aborted; running tasks poll it to end early.
    /// @threads any thread.
    bool isAborting() const { return m_aborting.load(std::memory_order_acquire); }

    /// The type given to the constructor.
    Type getType() const { return m_type; }
    /// The number given to the constructor.
    int getQueueID() const { return m_queueID; }
    /// Whether the tasks run on the main thread.
    bool isMainQueue() const { return m_type == kMain; }
    /// Whether runs block on IO.
    bool isIOQueue() const { return (m_type & kIOBit) != 0; }
    /// Whether several tasks may run at once.
    bool isParallelQueue() const { return (m_type & kParallelBit) != 0; }
    /// Whether workers serve the queue first.
    bool isHighPriQueue() const { return (m_type & kHighPriorityBit) != 0; }

    /// Runs tasks until none is left; the pools call it, nobody else should.
    void processTasks();

protected:
    /// Drops everything that waits; what is pushed from now on is dropped too. On a worker queue blocks until
    /// what runs has ended.
    void disable();

private:
    friend class TaskContext;
    friend class ThreadPool;

    struct Entry;

    /// Pushes in order. Only the first may have no runs left: whoever takes the next one removes it.
    struct Entries {
        Entry* first = nullptr;
        Entry* last = nullptr;
        uint32 count = 0;
    };

    /// Tasks that were taken off the queue unrun, with the number of their references.
    using Dropped = std::vector<Pair<Task*, uint32>>;

    static void append(Entries& entries, Entry* entry);
    static void removeFirst(Entries& entries);
    static void release(const Dropped& dropped);

    bool takesBatches() const { return !isParallelQueue() && !isMainQueue(); }
    uint32 takeBatchLocked() QEL_REQUIRES(m_mutex);
    Entry* popBatch();
    void linger(uint32 arrivals) const;
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
    std::atomic<uint32> m_briefWaiters{0}; // threads in wait() that haven't gone to sleep
    internal::SpinBudget m_waitBudget;

    mutable Mutex m_mutex; // before ThreadPool's and MainPool's
    std::condition_variable m_idle;
    std::atomic<uint32> m_activeCount{0}; // runs scheduled or going on; written under the mutex
    uint32 m_runningCount QEL_GUARDED_BY(m_mutex) = 0;
    Entries m_current QEL_GUARDED_BY(m_mutex);             // what may run now
    std::list<Entries> m_segments QEL_GUARDED_BY(m_mutex); // what waits behind each barrier

    // The one run of a serial worker queue takes all that may run now at once, and needs no lock for each
    // task.
    std::atomic<uint32> m_arrivals{0};                // pushes to m_current; written under the mutex
    alignas(64) std::atomic<Entry*> m_batch{nullptr}; // the first entry that the run has not taken
    std::atomic<uint32> m_batchCount{0};              // pushes in the batch whose last run has not begun
};

/// What a running task sees of its queue; lives on the stack of the running thread.
class QEL_API TaskContext {
public:
    /// The queue that the task runs on.
    TaskQueue* getQueue() const { return m_queue; }
    /// The number given to the queue's constructor.
    int getQueueID() const { return m_queue->getQueueID(); }
    /// Which run of a task pushed N times this is: N - 1 for the first, 0 for the last.
    unsigned getIndex() const { return m_index; }
    /// Whether the task should end early.
    bool isAborting() const { return m_queue->isAborting(); }
    /// Refines the estimate of this run's workload; the queue's figure changes by the difference.
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
