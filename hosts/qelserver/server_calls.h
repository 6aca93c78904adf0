// The calls that the server answers in addition to those of the library.
#pragma once

#include "job_board.h"
#include "json_rpc_call.h"
#include "json_rpc_server.h"
#include "records.h"
#include "worker_pool.h"

#include <qel/rpc/rpc_context.h>

namespace qelserver {

/// Registers and answers these calls:
/// @code
/// jobs.submit(String kind, List paths, Bool overwrite = false) : String id, once the job is on the disk
/// jobs.state(String id, Integer firstRow = 0)   : Table id, kind, state, progress, attempts, files, error,
///                                                 result, next
/// jobs.list(Integer jobs = 100, String before)  : Table jobs, next; jobs as in jobs.state without result and
///                                                 next, the oldest first
/// workers.list()                                : List of Table pid, restarts, job
/// log.query(Integer lines = 100, Bool customers = false, Integer before)
///                                               : Table lines, next; the oldest line first
/// statistics.list()                             : Table from name to count
/// server.shutdown()                             : True; the server then stops in order
/// @endcode
/// A reply has at most 1000 jobs or lines, and about 128 KiB of them or of a result. If there is more, "next"
/// is the argument with which to repeat the call; otherwise it is null. Each call needs the right "rpc:"
/// followed by its name. A call with wrong arguments, or for a job that does not exist, has no result.
/// @threads main thread.
class ServerCalls {
public:
    /// Registers the calls. @owner all parameters must outlive this object, and @p server must not run calls
    /// after its destruction.
    ServerCalls(JsonRpcServer& server, Records& records, JobBoard& jobs, const WorkerPool& workers);

    /// Returns true if submissions wait until their jobs are on the disk.
    bool hasSubmissions() const { return !m_submissions.empty(); }
    /// Finishes the submissions after the attempt to store their jobs. A job that could not be stored is
    /// dropped, and its submission fails with JsonRpcError::NotStored.
    void finishSubmissions();

private:
    /// A call of jobs.submit whose job is not stored yet.
    struct Submission {
        qel::RpcContext context;
        qel::SmartPointer<JsonRpcCall> call; // null for a call from inside the process
        qel::GUID job;
    };

    void submit(const qel::RpcContext& call);
    void state(const qel::RpcContext& call) const;
    void listJobs(const qel::RpcContext& call) const;
    void listWorkers(const qel::RpcContext& call) const;
    void queryLog(const qel::RpcContext& call) const;
    void listStatistics(const qel::RpcContext& call) const;
    void shutDown(const qel::RpcContext& call) const;

    JsonRpcServer& m_server;
    Records& m_records;
    JobBoard& m_jobs;
    const WorkerPool& m_workers;
    qel::Vector<Submission> m_submissions;
};

} // namespace qelserver
