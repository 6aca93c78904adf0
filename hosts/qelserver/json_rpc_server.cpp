#include "json_rpc_server.h"

#include "json_rpc_call.h"
#include "json_rpc_channel.h"
#include "json_rpc_connection.h"

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/system_error.h>
#include <qel/system/core/clock.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace qelserver {

namespace {

using namespace qel::platform;

constexpr std::uint32_t kForOwner = 0600;
constexpr std::uint32_t kForAll = 0666;
constexpr int kAcceptedPerPass = 16;
constexpr unsigned kRetryMs = 50; // the pause while the system can't wait for sockets

qel::int64 nowMs() {
    return qel::Clock::current().steadyNanoseconds() / 1'000'000;
}

} // namespace

JsonRpcServer::JsonRpcServer(std::string socketPath, JsonRpcRights rights, const JsonRpcLimits& limits)
    : m_socketPath(std::move(socketPath)),
      m_rights(std::make_shared<const JsonRpcRights>(std::move(rights))),
      m_limits(limits),
      m_finished(new FinishedCalls) {}

JsonRpcServer::~JsonRpcServer() {
    stop();
}

bool JsonRpcServer::start() {
    if (m_listener.isOpen()) return true;
    m_draining = false;
    if (!isNameFree()) return false;
    const FileError error =
        listenLocally(m_listener, m_socketPath.c_str(), m_rights->isEmpty() ? kForOwner : kForAll);
    FileStatus status;
    if (error || readStatus(status, m_socketPath.c_str(), Links::Keep)) {
        qel::logging::error() << "can't listen at '" << m_socketPath
                              << "': " << qel::platform::errorText(error.value());
        m_listener.close();
        return false;
    }
    m_nameIdentity = status.identity;
    return true;
}

/// Removes the socket if a server that has ended left it behind, so that nobody listens on it. @return true
/// if the path is free now.
bool JsonRpcServer::isNameFree() const {
    FileHandle probe;
    const FileError error = connectLocally(probe, m_socketPath.c_str());
    if (error == std::errc::no_such_file_or_directory || error == std::errc::filename_too_long) return true;
    FileStatus status;
    const bool isLeftBehind = error == std::errc::connection_refused &&
                              !readStatus(status, m_socketPath.c_str(), Links::Keep) &&
                              status.kind == FileKind::Other && !removeFile(m_socketPath.c_str());
    if (!isLeftBehind) qel::logging::error() << "'" << m_socketPath << "' is in use";
    return isLeftBehind;
}

void JsonRpcServer::drain() {
    m_draining = true;
}

bool JsonRpcServer::isBusy() const {
    return std::any_of(m_connections.begin(), m_connections.end(),
                       [](const auto& connection) { return connection->isBusy(); });
}

void JsonRpcServer::stop() {
    for (const auto& connection : m_connections) connection->close();
    m_connections.clear();
    m_finished->close();
    m_finished = new FinishedCalls;
    if (!m_listener.isOpen()) return;
    m_listener.close();
    FileStatus status;
    if (!readStatus(status, m_socketPath.c_str(), Links::Keep) && status.identity == m_nameIdentity) {
        removeFile(m_socketPath.c_str());
    }
}

void JsonRpcServer::poll() {
    receiveCalls();
    sendReplies();
}

void JsonRpcServer::receiveCalls() {
    if (!m_draining) {
        acceptConnections();
        receiveBytes();
    }
    runCalls();
}

void JsonRpcServer::wait(int timeoutMs) {
    const bool hasWork = std::any_of(m_connections.begin(), m_connections.end(),
                                     [this](const auto& peer) { return peer->hasCall(m_draining); });
    watch(hasWork ? 0 : timeoutMs);
    if (m_waitError && !hasWork)
        qel::Clock::current().sleep(std::min(static_cast<unsigned>(timeoutMs), kRetryMs));
}

void JsonRpcServer::adopt(FileHandle socket, PeerIdentity peer) {
    adopt(std::make_unique<JsonRpcSocketChannel>(std::move(socket)), std::move(peer));
}

void JsonRpcServer::adopt(std::unique_ptr<JsonRpcChannel> channel, PeerIdentity peer) {
    const qel::SmartPointer<JsonRpcConnection> connection(
        new JsonRpcConnection(std::move(channel), std::move(peer), m_rights, m_limits, nowMs()));
    if (!m_rights->hasAny(connection->peer())) return turnAway(*connection, JsonRpcError::NotPermitted);
    if (connection->peer().user == userId() && m_connections.size() >= m_limits.connections)
        dropLongestIdle();
    if (!hasRoomFor(connection->peer())) return turnAway(*connection, JsonRpcError::TooMany);
    m_connections.push_back(connection);
}

void JsonRpcServer::turnAway(JsonRpcConnection& connection, JsonRpcError error) {
    ++m_refusalCount;
    connection.refuse(error);
    connection.flush(nowMs());
    connection.close();
}

void JsonRpcServer::dropLongestIdle() {
    auto longest = m_connections.end();
    for (auto it = m_connections.begin(); it != m_connections.end(); ++it) {
        if ((*it)->isBusy() || (*it)->hasCall(false)) continue;
        const bool isFirst = longest == m_connections.end();
        if (isFirst || (*it)->lastActiveMs() < (*longest)->lastActiveMs()) longest = it;
    }
    if (longest == m_connections.end()) return;
    turnAway(**longest, JsonRpcError::TooMany);
    m_connections.erase(longest);
}

bool JsonRpcServer::hasRoomFor(const PeerIdentity& peer) const {
    if (m_connections.size() >= m_limits.connections) return false;
    const auto ofUser = std::count_if(m_connections.begin(), m_connections.end(),
                                      [&](const auto& other) { return other->peer().user == peer.user; });
    return peer.user == userId() || static_cast<std::size_t>(ofUser) < m_limits.connectionsOfOtherUser;
}

void JsonRpcServer::acceptConnections() {
    if (!m_listener.isOpen()) return;
    for (int i = 0; i < kAcceptedPerPass; ++i) {
        FileHandle socket;
        PeerIdentity peer;
        const FileError error = acceptLocally(socket, peer, m_listener);
        const bool isNobodyThere = error == std::errc::resource_unavailable_try_again;
        noteError(m_acceptError, isNobodyThere ? FileError() : error, "can't accept a connection");
        if (error) return;
        adopt(std::move(socket), std::move(peer));
    }
}

/// Waits for the connections, whose results come first and in their order, and for the listener unless
/// waiting connections can't be accepted at present.
std::vector<SocketWatch> JsonRpcServer::watch(int timeoutMs) {
    std::vector<SocketWatch> watched;
    for (const auto& connection : m_connections) {
        const bool hasSocket = connection->socket() != nullptr;
        const bool wantsInput = hasSocket && !m_draining && connection->wantsInput();
        watched.push_back({connection->socket(), wantsInput, hasSocket && connection->hasOutput()});
    }
    if (m_listener.isOpen() && !m_draining && !m_acceptError) watched.push_back({&m_listener, true, false});
    noteError(m_waitError, waitForSockets(watched, timeoutMs), "can't wait for the sockets");
    return watched;
}

/// Replaces the error that an operation had last. One that lasts is logged once.
void JsonRpcServer::noteError(FileError& last, const FileError& error, const char* what) {
    if (error && !last) qel::logging::error() << what << ": " << errorText(error.value());
    last = error;
}

void JsonRpcServer::receiveBytes() {
    if (m_connections.empty()) return;
    const std::vector<SocketWatch> watched = watch(0);
    const qel::int64 now = nowMs();
    for (std::size_t i = 0; i < m_connections.size(); ++i) {
        if (m_waitError || !watched[i].socket || watched[i].canReceive) m_connections[i]->receive(now);
    }
}

/// Runs one call of each connection in turn, until no connection has any more or the time is up. The next
/// pass continues with the next connection.
void JsonRpcServer::runCalls() {
    const auto connections = m_connections; // a copy, because a handler may stop the server
    const auto finished = m_finished;
    const qel::int64 begin = nowMs();
    for (std::size_t idle = 0; idle < connections.size() && nowMs() - begin <= m_limits.passMs;) {
        m_turn = (m_turn + 1) % connections.size();
        JsonRpcConnection& connection = *connections[m_turn];
        if (!connection.hasCall(m_draining)) {
            ++idle;
            continue;
        }
        idle = 0;
        ++m_callCount;
        if (const auto call = connection.takeCall(*this, *finished, m_refusalCount)) run(*call);
        collectResults();
    }
}

void JsonRpcServer::run(JsonRpcCall& call) {
    m_runningCall = &call;
    call.run();
    m_runningCall = nullptr;
}

void JsonRpcServer::collectResults() {
    for (const auto& call : m_finished->takeAll()) call->connection().replyTo(*call);
}

void JsonRpcServer::sendReplies() {
    collectResults();
    const qel::int64 now = nowMs();
    for (const auto& connection : m_connections) connection->flush(now);
    std::erase_if(m_connections, [](const auto& connection) { return connection->isClosed(); });
}

} // namespace qelserver
