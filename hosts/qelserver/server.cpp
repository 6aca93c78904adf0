#include "server.h"

#include <hosts/jobs/file_access.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>

#include <optional>

namespace qelserver {

namespace {

constexpr qel::uint32 kFinalRepliesMs = 500; // for replies that are on their way when the server stops

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

/// A job whose folders were granted once uses those that are granted now.
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
    m_records.options().delegateKeep.connect([this] { return keep(true); });
    m_records.options().registerRpcCalls(m_rpc.get());
    m_update->delegateBackup.connect([this] { return keep(true); }); // an installer finds all on the disk
    m_update->registerRpcCalls(m_rpc.get());
}

Server::~Server() {
    if (good()) {
        m_rpc->drain();
        qel::System& system = *qel::Object::system();
        const qel::uint32 start = system.getTime();
        do {
            poll();
            m_rpc->wait(1);
        } while (m_rpc->isBusy() && system.getTime() - start < kFinalRepliesMs);
    }
    if (m_rpc) m_rpc->stop();
    m_calls.reset();
    m_workers.reset();
}

/// Ends a pass of the records and begins the next. @return whether everything up to now is stored.
bool Server::keep(bool durable) {
    if (!durable && !m_records.isDue()) return false;
    m_jobs->store();
    const bool isKept = m_records.endPass(durable);
    m_jobs->settle(isKept);
    m_records.beginPass();
    return isKept;
}

bool Server::poll() {
    const qel::uint64 before = m_rpc->getCallCount();
    m_rpc->receiveCalls();
    const auto attempts = m_records.options().getValueAsInt("server:job_attempts");
    bool hasMoved = m_workers->poll(attempts);
    if (!m_records.isFailing()) hasMoved = m_workers->handOut() || hasMoved; // else no result can be kept
    const bool durable = m_calls->hasUnanswered();
    keep(durable);
    if (durable) m_calls->answer();
    m_rpc->sendReplies();
    return hasMoved || m_rpc->getCallCount() != before;
}

} // namespace qelserver
