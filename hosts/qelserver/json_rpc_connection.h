// JsonRpcConnection: one peer of the JSON-RPC server, with its input lines and its replies.
#pragma once

#include "json_rpc_call.h"
#include "json_rpc_channel.h"
#include "json_rpc_limits.h"
#include "json_rpc_rights.h"

#include <qel/foundation/base/line_splitter.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/file_system.h>
#include <qel/platform/local_socket.h>
#include <qel/rpc/rpc_provider.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace qelserver {

/// A connected peer. receive() reads its messages, takeCall() creates their calls one by one, replyTo() puts
/// their results into replies, and flush() sends the replies. The connection reads while there is room for
/// calls and replies. It is closed when the peer has sent all its messages and received all replies, or is
/// lost.
/// @threads main thread.
class JsonRpcConnection : public qel::Object {
    QEL_CLASS(JsonRpcConnection, qel::Object)

public:
    /// @param nowMs  the time in milliseconds, here and in all operations, of a clock that never goes back.
    JsonRpcConnection(std::unique_ptr<JsonRpcChannel> channel, qel::platform::PeerIdentity peer,
                      std::shared_ptr<const JsonRpcRights> rights, const JsonRpcLimits& limits,
                      qel::int64 nowMs);

    /// Returns the socket to wait for; null if the connection is closed or must be polled in every pass.
    const qel::platform::FileHandle* socket() const { return m_channel ? m_channel->socket() : nullptr; }
    /// Returns the user and groups of the peer.
    const qel::platform::PeerIdentity& peer() const { return m_peer; }
    /// Returns true if the peer has the right @p right.
    bool hasRight(std::string_view right) const { return m_rights->has(m_peer, right); }

    /// Returns true if receive() would read.
    bool wantsInput();
    /// Returns true if replies have not been sent completely.
    bool hasOutput() const { return m_sent < m_output.size(); }
    /// Returns true if takeCall() has something to do now.
    /// @param isDraining  true to consider only the rest of a batch that was begun.
    bool hasCall(bool isDraining);
    /// Returns true if calls are running, the rest of a batch is waiting, or replies are not sent yet.
    bool isBusy() const { return m_openCalls > 0 || m_message || hasOutput(); }
    /// Returns true if the connection has ended.
    bool isClosed() const { return !m_channel; }
    /// Returns the time when the peer last sent or read anything.
    qel::int64 lastActiveMs() const { return m_lastActiveMs; }

    /// Reads what has arrived, up to the limit for one pass.
    void receive(qel::int64 nowMs);
    /// Takes the next call of the batch that was begun, or else the first call of the next message. Refuses
    /// messages and calls that must not run; each one increases @p refusals.
    /// @return the call to run; null if there was a blank line or something was refused.
    qel::SmartPointer<JsonRpcCall> takeCall(const qel::RpcProvider& provider, FinishedCalls& finished,
                                            qel::uint64& refusals);
    /// Puts the result of a finished call into the reply to its message, and queues that reply if it is
    /// complete.
    void replyTo(JsonRpcCall& call);
    /// Queues an error that answers no particular call.
    void refuse(JsonRpcError error);
    /// Sends queued replies, as many bytes as the peer takes now. Closes the connection if it is over, or if
    /// the peer has not read for too long.
    void flush(qel::int64 nowMs);
    /// Ends the connection.
    void close();

private:
    /// A message whose calls have not all been taken yet.
    struct MessageInWork {
        JsonRpcMessage message;
        qel::SmartPointer<JsonRpcReply> reply;
        std::size_t next = 0; // index of the call to take
    };

    bool hasLine();
    qel::LineSplitter::Found takeLine(std::string_view& line);
    qel::LineSplitter::Found beginMessage();
    std::optional<JsonRpcError> refusalOf(const JsonRpcRequest& request, const qel::RpcProvider& provider,
                                          bool isRegistered) const;
    bool isPermitted(const JsonRpcRequest& request, const qel::RpcProvider& provider) const;
    void queueReply(const JsonRpcReply& reply);
    void sendOutput(qel::int64 nowMs);

    std::unique_ptr<JsonRpcChannel> m_channel; // null when closed
    const qel::platform::PeerIdentity m_peer;
    const std::shared_ptr<const JsonRpcRights> m_rights;
    const JsonRpcLimits m_limits;
    qel::LineSplitter m_input;
    bool m_inputHasEnded = false;
    std::optional<MessageInWork> m_message;
    std::string m_output;
    std::size_t m_sent = 0; // of m_output
    std::size_t m_openCalls = 0;
    qel::int64 m_lastActiveMs;
    qel::int64 m_lastProgressMs; // when the peer last read a reply, or no reply waited
};

} // namespace qelserver
