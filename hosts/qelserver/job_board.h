// JobBoard: all jobs and the order in which they are done.
#pragma once

#include "job.h"
#include "job_table.h"

#include <qel/foundation/base/smart_pointer.h>
#include <qel/store/core/statistics.h>

#include <deque>
#include <functional>

namespace qelserver {

/// Holds the jobs and their state, in memory and in their table. Jobs that had not ended when the server
/// stopped wait again, and an attempt that the stop interrupted is not counted.
///
/// A new job becomes visible, and a job that has ended changes its state, only after settle() reports that
/// its row is stored: callers never see a change that a full disk could undo. @threads main thread.
class JobBoard {
public:
    /// The longest part of an error that is kept, in bytes.
    static constexpr size_t kLongestErrorBytes = 1024;

    /// How much is held. The oldest jobs that have ended are removed to stay within both limits.
    struct Limits {
        size_t ended = 10000;             ///< number of jobs that have ended
        size_t bytes = size_t{256} << 20; ///< memory for all jobs
    };

    /// Loads the jobs of @p table. @owner holds references to both.
    JobBoard(qel::SmartPointer<JobTable> table, qel::SmartPointer<qel::Statistics> statistics,
             const Limits& limits);

    /// Adds a job, which waits for a worker as soon as it is stored.
    /// @param access  a FileAccess: the user who submits the job.
    /// @return its id; zero if the waiting jobs leave no room for it, which is logged.
    qel::GUID submit(const qel::String& kind, qel::Vector<qel::String> files, const qel::Item& access = {});
    /// Drops a job that is not stored yet.
    void withdraw(const qel::GUID& id);
    /// Returns the job @p id, or null if it does not exist. @owner valid until jobs are removed.
    const Job* find(const qel::GUID& id) const;
    /// Calls @p visit for the jobs whose Job::submitted is less than @p before, the newest first, until it
    /// returns false.
    void visitNewestFirst(qel::int64 before, const std::function<bool(const Job&)>& visit) const;
    /// Returns how many jobs wait for a worker.
    size_t waitingCount() const { return m_waiting.size(); }

    /// Marks the next waiting job as running and returns it; null if no job waits.
    const Job* start();
    /// Notes the progress of a job. @param progress  0 to 1.
    void progress(const qel::GUID& id, double progress);
    /// Notes that a worker has done a job. @param bytes  the bytes that it read. @param result  one element.
    void done(const qel::GUID& id, qel::uint64 bytes, const qel::Item& result);
    /// Notes that a worker could not do a job. The first kLongestErrorBytes of @p error are kept, with "?" in
    /// place of each control character.
    void fail(const qel::GUID& id, const qel::String& error);
    /// Takes a job back from a lost worker. The job is the next to be started, or has failed after
    /// @p mostAttempts attempts.
    void giveBack(const qel::GUID& id, int mostAttempts);

    /// Writes every row that differs from its job to the table, in the current transaction of its store.
    void store();
    /// Notes the outcome of that transaction. If @p isStored is false, the next store() writes its rows
    /// again.
    void settle(bool isStored);

private:
    Job* running(const qel::GUID& id);
    const Job* latest(const qel::GUID& id) const;
    void end(Job ended);
    void publish(Job ended);
    void removeOldest(size_t count, size_t furtherBytes, size_t least);
    void erase(qel::Map<qel::GUID, Job>::iterator job);

    qel::SmartPointer<JobTable> m_table;
    qel::SmartPointer<qel::Statistics> m_statistics;
    const Limits m_limits;
    qel::Map<qel::GUID, Job> m_jobs;
    qel::Map<qel::GUID, Job> m_new;                     // jobs that are not stored yet
    qel::Map<qel::GUID, Job> m_ended;                   // states that replace those of m_jobs once stored
    qel::Set<qel::GUID> m_changed;                      // jobs whose rows have to be written
    qel::Set<qel::Pair<qel::int64, qel::GUID>> m_order; // by submission
    std::deque<qel::GUID> m_waiting;
    size_t m_endedCount = 0;
    size_t m_bytes = 0; // of all jobs
};

} // namespace qelserver
