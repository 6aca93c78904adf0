// Which jobs there are, and which of them comes next.
#pragma once

#include "job.h"
#include "job_table.h"

#include <qel/foundation/base/smart_pointer.h>
#include <qel/store/core/statistics.h>

#include <deque>
#include <functional>

namespace qelserver {

/// Keeps the jobs and their state, in memory and in their table. What was still to do when the server last
/// stopped comes up again, with the attempt that was cut off not counted. @threads main thread.
class JobBoard {
public:
    /// How much is kept. Of the jobs that have ended, the oldest beyond that are forgotten.
    struct Limits {
        size_t ended = 10000;             ///< jobs that have ended
        size_t bytes = size_t{256} << 20; ///< of memory for all jobs
    };

    /// Takes over the jobs of @p table. @owner references to both.
    JobBoard(qel::SmartPointer<JobTable> table, qel::SmartPointer<qel::Statistics> statistics,
             const Limits& limits);

    /// Adds a job that waits. @param access  a FileAccess: who asks for the job. @return its id; zero when so
    /// much waits that there is no room for it, which is logged.
    qel::GUID submit(const qel::String& kind, qel::Vector<qel::String> files, const qel::Item& access = {});
    /// Forgets a job that waits.
    void forget(const qel::GUID& id);
    /// A job; null if there is none of that id. @owner valid until jobs are forgotten.
    const Job* find(const qel::GUID& id) const;
    /// Calls @p visit for the jobs that were submitted before @p before, as Job::submitted says, from the
    /// newest on until it returns false.
    void visitNewestFirst(qel::int64 before, const std::function<bool(const Job&)>& visit) const;
    /// How many jobs wait for a worker.
    size_t waitingCount() const { return m_waiting.size(); }

    /// The job that comes next, which runs from now on; null if none waits.
    const Job* start();
    /// A worker got on with a job. @param progress  0 to 1.
    void progress(const qel::GUID& id, double progress);
    /// A worker has done a job. @param bytes  how much it read. @param result  one element.
    void done(const qel::GUID& id, qel::uint64 bytes, const qel::Item& result);
    /// A worker says that a job can't be done.
    void fail(const qel::GUID& id, const qel::String& error);
    /// A worker was lost over a job: it waits again, as the first, unless it had its last attempt.
    void giveBack(const qel::GUID& id, int mostAttempts);

private:
    Job* running(const qel::GUID& id);
    void end(Job& job, JobState state, const char* counter);
    void forgetOldest(size_t count, size_t furtherBytes, size_t least);
    void erase(qel::Map<qel::GUID, Job>::iterator job);

    qel::SmartPointer<JobTable> m_table;
    qel::SmartPointer<qel::Statistics> m_statistics;
    const Limits m_limits;
    qel::Map<qel::GUID, Job> m_jobs;
    qel::Set<qel::Pair<qel::int64, qel::GUID>> m_order; // by submission
    std::deque<qel::GUID> m_waiting;
    size_t m_endedCount = 0;
    size_t m_bytes = 0; // of all jobs
};

} // namespace qelserver
