// The calls that the server answers besides those of the library.
#pragma once

#include "job_board.h"
#include "records.h"
#include "worker_pool.h"

#include <qel/rpc/rpc_provider.h>

namespace qelserver {

/// Registers and answers:
///
/// | method | arguments | result |
/// |---|---|---|
/// | jobs.submit | String kind, List of String paths | String id, once the job is on the disk |
/// | jobs.state | String id | Table: id, kind, state, progress, attempts, result, error |
/// | jobs.list | Integer number of jobs (100) | List of such tables without results, oldest submission first
/// | | workers.list | | List of Table: pid, restarts, job | | log.query | Integer number of lines (100), Bool
/// customers' log (false) | List of lines, oldest first | | statistics.list | | Table from name to count | |
/// server.shutdown | | True; the server then stops in order |
///
/// No call gives more than 1000 jobs or 10000 lines. Each call needs the right "rpc:" and its name. What has
/// wrong arguments, or asks for a job that is not there, has no result. @threads main thread.
class ServerCalls {
public:
    /// @owner all must outlive it, and the provider must not be called after it.
    ServerCalls(qel::RpcProvider& provider, Records& records, JobBoard& jobs, const WorkerPool& workers);

    /// Whether somebody waits for what a pass wrote to be on the disk.
    bool hasUnanswered() const { return !m_unanswered.empty(); }
    /// What was written is on the disk now: answers those who wait for it. A job that the disk did not take
    /// is forgotten, and the call for it has no result.
    void answer();

private:
    void submit(const qel::RpcContext& call);
    void state(const qel::RpcContext& call) const;
    void listJobs(const qel::RpcContext& call) const;
    void listWorkers(const qel::RpcContext& call) const;
    void queryLog(const qel::RpcContext& call) const;
    void listStatistics(const qel::RpcContext& call) const;
    void shutDown(const qel::RpcContext& call) const;

    Records& m_records;
    JobBoard& m_jobs;
    const WorkerPool& m_workers;
    qel::Vector<qel::Pair<qel::RpcContext, qel::GUID>> m_unanswered; // submissions and their jobs
};

} // namespace qelserver
