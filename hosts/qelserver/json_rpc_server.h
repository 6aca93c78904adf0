// JsonRpcServer: remote calls by JSON-RPC 2.0 over a Unix-domain socket, one message per line.
#pragma once

#include "json_rpc_limits.h"
#include "json_rpc_rights.h"

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/file_system.h>
#include <qel/platform/local_socket.h>
#include <qel/rpc/rpc_provider.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace qelserver {

class FinishedCalls;
class JsonRpcCall;
class JsonRpcChannel;
class JsonRpcConnection;
enum class JsonRpcError : int;

/// A provider whose calls come from other processes. Register calls on it as on every RpcProvider, start it,
/// and call poll() in each pass; it never blocks. A handler may stop it; the rest of a batch does not run
/// then.
///
/// The path of a call: receiveCalls() accepts connections and receives bytes. JsonRpcConnection::takeCall()
/// splits them into messages and checks the right of each call, and JsonRpcCall::run() runs its handler. The
/// handler finishes the call at once or later, on any thread; the call then waits in FinishedCalls.
/// sendReplies() collects finished calls, puts their results into the replies to their messages, and sends
/// complete replies. Peers take turns with single calls, including those of batches, for
/// JsonRpcLimits::passMs per pass.
///
/// A peer may make a call if it has the right recorded for it, or the right "rpc:NAME" if the call was
/// registered without one. Peers with the server's own user id have all rights.
/// @threads main thread. Calls may be finished on any thread.
class JsonRpcServer : public qel::RpcProvider {
public:
    /// @param socketPath  the path of the socket; "" for a server that only serves what adopt() adds.
    JsonRpcServer(std::string socketPath, JsonRpcRights rights, const JsonRpcLimits& limits = {});
    ~JsonRpcServer() override;

    /// Begins to listen. The socket is open to all users if the rights name any user but the server's own.
    /// A socket left behind by a server that has ended is replaced.
    /// @return false if the server can't listen. @errors logged.
    bool start();
    /// Accepts no further connections and messages. poll() still runs batches that were begun and sends
    /// replies.
    void drain();
    /// Returns true if calls are running or replies are not sent completely.
    bool isBusy() const;
    /// Closes all connections and removes the socket. Calls that are still running end without a reply.
    void stop();

    /// Does all work that needs no waiting: receiveCalls(), then sendReplies().
    void poll();
    /// Accepts connections, receives messages and runs calls. A host that has to store what calls did before
    /// it replies uses this and sendReplies() instead of poll().
    void receiveCalls();
    /// Sends the replies to finished calls.
    void sendReplies();
    /// Blocks until poll() has something to do, or @p timeoutMs have passed. If the system can't wait for the
    /// sockets, it sleeps for up to 50 ms, and poll() then tries all sockets. @errors logged once.
    void wait(int timeoutMs);
    /// Serves a connection that was created elsewhere. A peer without any right or beyond the limits receives
    /// an error and is disconnected. When the number of connections is at its limit, a peer of the server's
    /// own user displaces the connection that has been idle for longest.
    void adopt(qel::platform::FileHandle socket, qel::platform::PeerIdentity peer);
    /// As above, for a peer that is not connected by a socket.
    void adopt(std::unique_ptr<JsonRpcChannel> channel, qel::platform::PeerIdentity peer);

    /// Returns the rights of peers.
    const JsonRpcRights& rights() const { return *m_rights; }
    /// Returns the call whose handler is running; null outside of handlers.
    JsonRpcCall* runningCall() const { return m_runningCall; }
    /// Returns the number of connected peers.
    std::size_t getConnectionCount() const { return m_connections.size(); }
    /// Returns how many calls were run or refused since the start.
    qel::uint64 getCallCount() const { return m_callCount; }
    /// Returns how many calls, messages and peers were refused since the start.
    qel::uint64 getRefusalCount() const { return m_refusalCount; }

private:
    bool isNameFree() const;
    void acceptConnections();
    bool hasRoomFor(const qel::platform::PeerIdentity& peer) const;
    void dropLongestIdle();
    void turnAway(JsonRpcConnection& connection, JsonRpcError error);
    std::vector<qel::platform::SocketWatch> watch(int timeoutMs);
    static void noteError(qel::platform::FileError& last, const qel::platform::FileError& error,
                          const char* what);
    void receiveBytes();
    void runCalls();
    void run(JsonRpcCall& call);
    void collectResults();

    const std::string m_socketPath;
    const std::shared_ptr<const JsonRpcRights> m_rights;
    const JsonRpcLimits m_limits;
    qel::platform::FileHandle m_listener;
    qel::platform::FileIdentity m_nameIdentity; // of the socket that start() created
    qel::Vector<qel::SmartPointer<JsonRpcConnection>> m_connections;
    qel::SmartPointer<FinishedCalls> m_finished;
    JsonRpcCall* m_runningCall = nullptr;
    std::size_t m_turn = 0;                 // index of the connection whose turn it was last
    qel::platform::FileError m_acceptError; // set while waiting connections can't be accepted
    qel::platform::FileError m_waitError;   // set while the system can't wait for the sockets
    bool m_draining = false;
    qel::uint64 m_callCount = 0;
    qel::uint64 m_refusalCount = 0;
};

} // namespace qelserver
