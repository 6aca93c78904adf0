// JsonRpcServer: remote calls by JSON-RPC 2.0 over a Unix-domain socket, one message a line.
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
class JsonRpcChannel;
class JsonRpcConnection;
enum class JsonRpcError : int;

/// A provider whose calls come from other processes. Register calls on it as on every RpcProvider, start it,
/// and call poll() in each pass; it never blocks. A handler may stop it; the rest of a batch does not run
/// then.
///
/// The road of a call: receiveCalls() takes connections and bytes, and JsonRpcConnection::runNextCall() cuts
/// them into messages, checks the right and runs the handler (JsonRpcCall::run). A handler finishes its call
/// at once or later, on any thread; the call then waits in FinishedCalls. sendReplies() collects it, puts the
/// result into the reply to its message, and sends replies that are whole. Peers take turns with single
/// calls, also those of batches, for JsonRpcLimits::passMs in a pass.
///
/// A call is run for a peer that has the right recorded for it; one registered without a right asks for
/// "rpc:" and its name. Peers with the server's own user id have all rights.
/// @threads main thread. Calls may be finished on any thread.
class JsonRpcServer : public qel::RpcProvider {
public:
    /// @param socketPath  name of the socket in the file system; "" for a server that only serves what
    ///                    adopt() gives it.
    JsonRpcServer(std::string socketPath, JsonRpcRights rights, const JsonRpcLimits& limits = {});
    ~JsonRpcServer() override;

    /// Begins to listen, open to all users when the rights name any other than the server's own. A name left
    /// behind by a server that is gone is taken over.
    /// @return false, with the reason logged.
    bool start();
    /// Takes no further connections and messages; poll() goes on to send the replies of calls that run.
    void drain();
    /// Whether a reply is owed or on its way.
    bool isBusy() const;
    /// Closes everything and removes the name. Calls that still run end without a reply.
    void stop();

    /// Does what can be done at once: receiveCalls(), then sendReplies().
    void poll();
    /// Takes connections and messages and runs calls, for a host that has to store what they did before
    /// anybody hears of it.
    void receiveCalls();
    /// Sends the replies to the calls that have ended.
    void sendReplies();
    /// Blocks until a peer has something for poll(), or @p timeoutMs have passed; for hosts that would sleep.
    void wait(int timeoutMs);
    /// Serves a connection that somebody else has made. Peers without any right, and those beyond the limits,
    /// get an error and are disconnected. When there are as many connections as allowed, one of the server's
    /// own user displaces the one that has been idle for longest.
    void adopt(qel::platform::FileHandle socket, qel::platform::PeerIdentity peer);
    /// The same for a peer whose bytes come in any other way.
    void adopt(std::unique_ptr<JsonRpcChannel> channel, qel::platform::PeerIdentity peer);

    /// The rights of peers.
    const JsonRpcRights& rights() const { return *m_rights; }
    /// How many peers are connected.
    std::size_t getConnectionCount() const { return m_connections.size(); }
    /// How many calls were run or refused since the start.
    qel::uint64 getCallCount() const { return m_callCount; }
    /// How many messages and peers were refused since the start.
    qel::uint64 getRefusalCount() const { return m_refusalCount; }

private:
    bool isNameFree() const;
    void acceptConnections();
    bool hasRoomFor(const qel::platform::PeerIdentity& peer) const;
    void dropLongestIdle();
    void turnAway(JsonRpcConnection& connection, JsonRpcError error);
    std::vector<qel::platform::SocketWatch> watch(int timeoutMs) const;
    void receiveBytes();
    void runCalls();
    void collectResults();

    const std::string m_socketPath;
    const std::shared_ptr<const JsonRpcRights> m_rights;
    const JsonRpcLimits m_limits;
    qel::platform::FileHandle m_listener;
    qel::platform::FileIdentity m_nameIdentity; // of the socket that start() created
    qel::Vector<qel::SmartPointer<JsonRpcConnection>> m_connections;
    qel::SmartPointer<FinishedCalls> m_finished;
    std::size_t m_turn = 0;          // of the connection that was last asked for a call
    bool m_isShortOfSockets = false; // connections wait that can't be taken
    bool m_draining = false;
    qel::uint64 m_callCount = 0;
    qel::uint64 m_refusalCount = 0;
};

} // namespace qelserver
