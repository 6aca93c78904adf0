// AsyncQueue: runs script jobs with bounded concurrency.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/object.h>
#include <qel/script/object.h>
#include <qel/script/vm.h>

namespace qelSq {

/// Runs script closures as script threads, in the order in which they were pushed and with a limit on how
/// many run at a time. Its script class is "AsyncQueue"; scripts create one by `std.queue()` or
/// `std.serial_queue()`.
/// @owner each of its threads holds a reference, so that a queue stays alive while it has work.
/// @threads main thread.
class QEL_API AsyncQueue : public qel::Object {
    QEL_CLASS(AsyncQueue, qel::Object)

public:
    /// A closure that waits for its turn, and its arguments.
    struct Job {
        qelSq::Object closure;                ///< the closure to call
        qel::Vector<qelSq::Object> arguments; ///< the arguments of the call
    };

    /// Creates a queue that runs up to @p concurrencyLimit threads at a time; 0 means no limit.
    explicit AsyncQueue(qel::int32 concurrencyLimit = 0) : m_concurrencyLimit(concurrencyLimit) {}
    AsyncQueue(const AsyncQueue&) = delete;
    AsyncQueue& operator=(const AsyncQueue&) = delete;

    /// Appends @p job and starts the first waiting job if the limit allows. Does nothing while aborting.
    void push(VM& vm, Job job);
    /// Starts the first waiting job, if any, if the limit allows. Starts at most one job.
    void pumpQueue(VM& vm);
    /// Records that one of the queue's threads has ended, then calls pumpQueue().
    void threadEnded(VM& vm);

    /// Drops the waiting jobs and refuses new ones until endAbort().
    void beginAbort();
    /// Undoes one beginAbort().
    void endAbort() { --m_abortingCount; }
    /// Returns true if an abort is in progress.
    bool isAborting() const { return m_abortingCount != 0; }
    /// Returns true if no job is waiting or running.
    bool isIdle() const { return m_pendingJobs.empty() && m_runningCount == 0; }
    /// Returns the number of this queue's threads that have started and not ended.
    qel::uint32 getRunningCount() const { return m_runningCount; }

    /// Sets the limit for jobs that start from now on; starts no job itself.
    /// @param limit  0 means no limit; so does any negative value.
    void setConcurrencyLimit(qel::int32 limit) { m_concurrencyLimit = limit; }
    /// Returns the limit; 0 means no limit.
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
