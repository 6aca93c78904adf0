#include "server.h"

#include "json_rpc_call.h"

#include <hosts/jobs/file_access.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>

#include <optional>

namespace qelserver {

namespace {

constexpr qel::uint32 kFinalRepliesMs = 500; // for replies that are not sent yet when the server stops

} // namespace

Server::Server(const Options& options, WorkerPool::NewWorker newWorker) : m_records(options.data) {
    if (!newWorker)
        newWorker = [program = options.worker] { return qel::SmartPointer<Worker>(new Worker(program)); };
    if (!m_records.good() || !startRpc(options)) return;
    m_jobs = std::make_unique<JobBoard>(m_records.jobs(), m_records.statistics(), JobBoard::Limits());
    if (!m_records.good()) {
        qel::logging::error() << "the records in '" << options.data << "' are damaged";
        return;
    }
    m_workers = std::make_unique<WorkerPool>(*m_jobs, m_records.statistics(), newWorker, options.workers,
                                             [this](const Job& job) { return accessOf(job); });
    m_calls = std::make_unique<ServerCalls>(*m_rpc, m_records, *m_jobs, *m_workers);
    registerCallsOfLibrary();
    m_records.beginPass();
    qel::logging::info() << "serving on " << options.socket << " with " << options.workers << " workers, "
                         << m_jobs->waitingCount() << " jobs wait";
}

/// The folders that are granted now count, not those at the time of the submission.
qel::Item Server::accessOf(const Job& job) const {
    std::optional<qeljobs::FileAccess> access = qeljobs::FileAccess::fromItem(job.access);
    if (!access) return {};
    access->folders = m_rpc->rights().foldersOf(access->user);
    return access->toItem();
}

bool Server::startRpc(const Options& options) {
    std::optional<JsonRpcRights> rights = JsonRpcRights();
    if (!options.rights.empty()) rights = JsonRpcRights::load(options.rights);
    if (!rights) return false;
    m_rpc = std::make_unique<JsonRpcServer>(options.socket, std::move(*rights));
    return options.socket.empty() || m_rpc->start();
}

void Server::registerCallsOfLibrary() {
    m_records.options().delegateKeep.connect([this] { return storeForRunningCall(); });
    m_records.options().registerRpcCalls(m_rpc.get());
    m_update->delegateBackup.connect([this] { return storeForRunningCall(); });
    m_update->registerRpcCalls(m_rpc.get());
}

Server::~Server() {
    stop();
}

bool Server::stop() {
    if (good()) {
        sendFinalReplies();
        m_jobs->store(); // also what could not be stored before
    }
    if (m_rpc) m_rpc->stop();
    m_calls.reset();
    m_workers.reset();
    return m_records.close();
}

void Server::sendFinalReplies() {
    m_rpc->drain();
    qel::System& system = *qel::Object::system();
    const qel::uint32 start = system.getTime();
    do {
        poll();
        m_rpc->wait(1);
    } while (m_rpc->isBusy() && system.getTime() - start < kFinalRepliesMs);
}

/// Ends a pass of the records and begins the next. @return true if everything up to now is stored.
bool Server::storePass(bool durable) {
    if (!durable && !m_records.isDue()) return false;
    m_jobs->store();
    const bool isStored = m_records.endPass(durable);
    m_jobs->settle(isStored);
    m_records.beginPass();
    return isStored;
}

/// Writes everything to disk before a handler continues. If that fails, the peer receives an error,
/// whatever result the handler leaves.
bool Server::storeForRunningCall() {
    if (storePass(true)) return true;
    if (JsonRpcCall* call = m_rpc->runningCall()) call->fail(JsonRpcError::NotStored);
    return false;
}

bool Server::poll() {
    const qel::uint64 before = m_rpc->getCallCount();
    m_rpc->receiveCalls();
    const auto attempts = m_records.options().getValueAsInt("server:job_attempts");
    bool hasMoved = m_workers->poll(attempts);
    if (!m_records.isFailing())
        hasMoved = m_workers->assignJobs() || hasMoved; // else no result can be stored
    const bool durable = m_calls->hasSubmissions();
    storePass(durable);
    if (durable) m_calls->finishSubmissions();
    m_rpc->sendReplies();
    return hasMoved || m_rpc->getCallCount() != before;
}

} // namespace qelserver
