// The calls that the server answers besides those of the library.
#pragma once

#include "job_board.h"
#include "records.h"
#include "worker_pool.h"

#include <qel/rpc/rpc_provider.h>

namespace qelserver {

/// Registers and answers:
/// - jobs.submit(String kind, List of String paths, Bool overwrite = false): String id, once the job is on
/// the disk
/// - jobs.state(String id, Integer firstRow = 0): Table id, kind, state, progress, attempts, files, error,
/// result, next
/// - jobs.list(Integer jobs = 100, String before): Table jobs (a List of such tables without results, the
/// oldest
///   first), next
/// - workers.list(): List of Table pid, restarts, job
/// - log.query(Integer lines = 100, Bool customers = false, Integer before): Table lines (the oldest first),
/// next
/// - statistics.list(): Table from name to count
/// - server.shutdown(): True; the server then stops in order
///
/// A reply has at most 1000 jobs or lines, and about 128 KiB of them or of a result. If there is more, "next"
/// is the argument with which the call goes on; otherwise it is null. Each call needs the right "rpc:" and
/// its name. A call with wrong arguments, or for a job that does not exist, has no result. @threads main
/// thread.
class ServerCalls {
public:
    /// @owner all must outlive it, and the provider must not be called after it.
    ServerCalls(qel::RpcProvider& provider, Records& records, JobBoard& jobs, const WorkerPool& workers);

    /// Whether somebody waits for what a pass wrote to be on the disk.
    bool hasUnanswered() const { return !m_unanswered.empty(); }
    /// Answers the calls that wait until their jobs are on the disk, after the attempt to store them. A job
    /// that the disk did not take is dropped, and its call has no result.
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
