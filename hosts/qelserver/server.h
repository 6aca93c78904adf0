// The server: its records, its workers and its calls, driven from the pass.
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

/// Creates the parts in their order, and destroys them in the reverse: after that, everything that was
/// acknowledged is on the disk. @threads main thread.
class Server {
public:
    /// Opens the records, starts the workers and listens. @param options  complete.
    /// @param newWorker  creates workers in place of those that run Options::worker; for servers in a process
    /// of
    ///                   somebody else, which need no socket either: none is used if Options::socket is
    ///                   empty.
    explicit Server(const Options& options, WorkerPool::NewWorker newWorker = nullptr);
    ~Server();

    /// Whether all of it works; the log says what does not.
    bool good() const { return m_calls != nullptr; }
    /// Does what has come up: calls, answers of workers, records. Replies go out when what they report is
    /// committed, so that a kill takes nothing back. Waits for the disk only if somebody is to be told that
    /// something was kept. @return whether there was anything to do.
    bool poll();
    /// Blocks until a call comes in, or @p ms milliseconds have passed.
    void wait(unsigned ms) { m_rpc->wait(static_cast<int>(ms)); }

    /// The way in for peers that do not come through the socket.
    JsonRpcServer& rpc() { return *m_rpc; }
    /// The jobs.
    const JobBoard& jobs() const { return *m_jobs; }

private:
    qel::Item accessOf(const Job& job) const;
    bool keep(bool durable);
    bool startRpc(const Options& options);
    void registerCallsOfLibrary();

    Records m_records;
    std::unique_ptr<JobBoard> m_jobs;
    std::unique_ptr<WorkerPool> m_workers;
    std::unique_ptr<JsonRpcServer> m_rpc;
    std::unique_ptr<ServerCalls> m_calls;
    const qel::SmartPointer<qel::UpdateMechanism> m_update{new qel::UpdateMechanism()};
};

} // namespace qelserver
