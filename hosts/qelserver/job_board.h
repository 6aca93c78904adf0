// The jobs that exist, and which of them comes next.
#pragma once

#include "job.h"
#include "job_table.h"

#include <qel/foundation/base/smart_pointer.h>
#include <qel/store/core/statistics.h>

#include <deque>
#include <functional>

namespace qelserver {

/// Keeps the jobs and their state, in memory and in their table. Jobs that were not done when the server last
/// stopped wait again, and an attempt that was cut off is not counted.
///
/// A new job does not exist, and an ended one goes on running, until settle() reports that its row is stored:
/// nobody hears of what a full disk would take back. @threads main thread.
class JobBoard {
public:
    /// Bytes of an error that are kept.
    static constexpr size_t kLongestErrorBytes = 1024;

    /// How much is kept. Of the jobs that have ended, the oldest beyond that are forgotten.
    struct Limits {
        size_t ended = 10000;             ///< jobs that have ended
        size_t bytes = size_t{256} << 20; ///< of memory for all jobs
    };

    /// Takes over the jobs of @p table. @owner references to both.
    JobBoard(qel::SmartPointer<JobTable> table, qel::SmartPointer<qel::Statistics> statistics,
             const Limits& limits);

    /// Adds a job, which waits as soon as it is stored. @param access  a FileAccess: who asks for the job.
    /// @return its id; zero if the jobs that wait leave no room for it, which is logged.
    qel::GUID submit(const qel::String& kind, qel::Vector<qel::String> files, const qel::Item& access = {});
    /// Drops a job that is not stored yet.
    void withdraw(const qel::GUID& id);
    /// Returns a job, or null if there is none with that id. @owner valid until jobs are forgotten.
    const Job* find(const qel::GUID& id) const;
    /// Calls @p visit for the jobs that were submitted before @p before, as Job::submitted says, from the
    /// newest on until it returns false.
    void visitNewestFirst(qel::int64 before, const std::function<bool(const Job&)>& visit) const;
    /// Returns how many jobs wait for a worker.
    size_t waitingCount() const { return m_waiting.size(); }

    /// Returns the job that comes next, which runs from now on; null if none waits.
    const Job* start();
    /// Notes how far a worker is with a job. @param progress  0 to 1.
    void progress(const qel::GUID& id, double progress);
    /// Notes that a worker has done a job. @param bytes  how much it read. @param result  one element.
    void done(const qel::GUID& id, qel::uint64 bytes, const qel::Item& result);
    /// Notes that a worker can't do a job. Of @p error, kLongestErrorBytes are kept, with "?" for each
    /// control character.
    void fail(const qel::GUID& id, const qel::String& error);
    /// Takes a job back from a lost worker: it waits again, as the first, unless this was its last attempt.
    void giveBack(const qel::GUID& id, int mostAttempts);

    /// Writes every row that differs from its job to the table, in the current transaction of its store.
    void store();
    /// Notes what became of that transaction. What was not kept is written again by the next store().
    void settle(bool isKept);

private:
    Job* running(const qel::GUID& id);
    const Job* latest(const qel::GUID& id) const;
    void end(Job ended);
    void publish(Job ended);
    void forgetOldest(size_t count, size_t furtherBytes, size_t least);
    void erase(qel::Map<qel::GUID, Job>::iterator job);

    qel::SmartPointer<JobTable> m_table;
    qel::SmartPointer<qel::Statistics> m_statistics;
    const Limits m_limits;
    qel::Map<qel::GUID, Job> m_jobs;
    qel::Map<qel::GUID, Job> m_new;                     // not stored yet
    qel::Map<qel::GUID, Job> m_ended;                   // as they will be once that is stored
    qel::Set<qel::GUID> m_changed;                      // rows that differ from their jobs
    qel::Set<qel::Pair<qel::int64, qel::GUID>> m_order; // by submission
    std::deque<qel::GUID> m_waiting;
    size_t m_endedCount = 0;
    size_t m_bytes = 0; // of all jobs
};

} // namespace qelserver
