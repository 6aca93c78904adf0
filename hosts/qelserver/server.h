// The server: its records, its workers and its calls, driven by passes.
#pragma once

#include "job_board.h"
#include "json_rpc_server.h"
#include "options.h"
#include "records.h"
#include "server_calls.h"
#include "worker_pool.h"

#include <qel/foundation/base/smart_pointer.h>
#include <qel/rpc/update_mechanism.h>

#include <memory>

namespace qelserver {

/// Owns all parts of the server, creates them in order and destroys them in reverse order.
/// @threads main thread.
class Server {
public:
    /// Opens the records, starts the workers and listens.
    /// @param options    the complete options. If Options::socket is empty, no socket is created; peers then
    ///                   come in through rpc() only.
    /// @param newWorker  creates the workers, for hosts that embed the server; by default, workers run
    ///                   Options::worker.
    explicit Server(const Options& options, WorkerPool::NewWorker newWorker = nullptr);
    /// Stops the server if stop() was not called.
    ~Server();

    /// Returns true if the server runs. @errors if it does not, the log says why.
    bool good() const { return m_calls != nullptr; }
    /// Runs one pass: calls, events of workers, records. Replies are sent after what they report is
    /// committed, so a killed server loses nothing that it acknowledged. Waits for the disk only if a call
    /// has to be answered whose effect must be durable. @return true if there was anything to do.
    bool poll();
    /// Blocks until a call comes in, or @p ms milliseconds have passed.
    void wait(unsigned ms) { m_rpc->wait(static_cast<int>(ms)); }
    /// Sends the replies that are due, ends the workers and stores everything. The server is not good()
    /// afterwards. @return true if everything is on the disk. @errors logged.
    bool stop();

    /// Returns the transport, for peers that do not come through the socket.
    JsonRpcServer& rpc() { return *m_rpc; }
    /// Returns the jobs.
    const JobBoard& jobs() const { return *m_jobs; }

private:
    qel::Item accessOf(const Job& job) const;
    bool storePass(bool durable);
    bool storeForRunningCall();
    bool startRpc(const Options& options);
    void registerCallsOfLibrary();
    void sendFinalReplies();

    Records m_records;
    std::unique_ptr<JobBoard> m_jobs;
    std::unique_ptr<WorkerPool> m_workers;
    std::unique_ptr<JsonRpcServer> m_rpc;
    std::unique_ptr<ServerCalls> m_calls;
    const qel::SmartPointer<qel::UpdateMechanism> m_update{new qel::UpdateMechanism()};
};

} // namespace qelserver
