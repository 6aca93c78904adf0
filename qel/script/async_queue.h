// AsyncQueue: script jobs with bounded parallelism.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/object.h>
#include <qel/script/object.h>
#include <qel/script/vm.h>

namespace qelSq {

/// Runs script closures as threads, at most so many at a time, in the order in which they were pushed. Script
/// class "AsyncQueue"; scripts make one by `std.queue()` or `std.serial_queue()`.
/// @owner each of its threads holds a reference, so that a queue lives on while it works.
/// @threads main thread.
class QEL_API AsyncQueue : public qel::Object {
    QEL_CLASS(AsyncQueue, qel::Object)

public:
    /// A closure that waits for its turn, with its arguments.
    struct Job {
        qelSq::Object closure;                ///< what to run
        qel::Vector<qelSq::Object> arguments; ///< what to hand to it
    };

    /// A queue for @p concurrencyLimit threads at a time; 0 means no limit.
    explicit AsyncQueue(qel::int32 concurrencyLimit = 0) : m_concurrencyLimit(concurrencyLimit) {}
    AsyncQueue(const AsyncQueue&) = delete;
    AsyncQueue& operator=(const AsyncQueue&) = delete;

    /// Appends @p job and starts the first waiting one if the limit allows; ignored while aborting.
    void push(VM& vm, Job job);
    /// Starts the first waiting job if there is one and the limit allows: one job at most.
    void pumpQueue(VM& vm);
    /// Notes that one of the queue's threads has ended, and pumps.
    void threadEnded(VM& vm);

    /// Drops the waiting jobs and refuses new ones until endAbort().
    void beginAbort();
    /// Takes back one beginAbort().
    void endAbort() { --m_abortingCount; }
    /// Whether an abort is under way.
    bool isAborting() const { return m_abortingCount != 0; }
    /// Whether no job waits and none runs.
    bool isIdle() const { return m_pendingJobs.empty() && m_runningCount == 0; }
    /// Threads of this queue that have started and not ended.
    qel::uint32 getRunningCount() const { return m_runningCount; }

    /// Sets the limit for jobs that start from now on; starts none itself. @param limit  0 means no limit; a
    /// negative one is beyond any count.
    void setConcurrencyLimit(qel::int32 limit) { m_concurrencyLimit = limit; }
    /// The limit; 0 means none.
    qel::int32 getConcurrencyLimit() const { return m_concurrencyLimit; }

    /// Fills the script class @p cls.
    static void bindSqVM(qelSq::Object* cls);

private:
    qel::List<Job> m_pendingJobs;
    qel::uint32 m_runningCount = 0;
    qel::int32 m_concurrencyLimit;
    qel::uint32 m_abortingCount = 0;
};

} // namespace qelSq
