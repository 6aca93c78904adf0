// JsonRpcConnection: one peer of the JSON-RPC server, its lines and its replies.
#pragma once

#include "json_rpc_call.h"
#include "json_rpc_limits.h"
#include "json_rpc_rights.h"

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

/// Cuts what arrives into lines, none longer than a limit.
class JsonRpcInput {
public:
    explicit JsonRpcInput(std::size_t lineLimit) : m_lineLimit(lineLimit) {}

    /// What became of a line.
    enum class Line { None, Whole, TooLong };

    /// Appends bytes; those that belong to a line that was too long are dropped.
    void append(std::string_view bytes);
    /// Nothing more will come: what is left counts as a line.
    void end() { m_hasEnded = true; }
    /// Whether end() was called.
    bool hasEnded() const { return m_hasEnded; }
    /// Whether take() would give a line or an error.
    bool hasLine();
    /// Takes the next line. A line that is too long is told of once, as soon as that is known.
    /// @param line  valid until the next operation.
    Line take(std::string_view& line);
    /// Frees the room of the lines that were taken.
    void dropTaken();

private:
    const std::size_t m_lineLimit;
    std::string m_bytes;
    std::size_t m_begin = 0;   // of the line to take next
    std::size_t m_scanned = 0; // no line feed between begin and here
    bool m_hasEnded = false;
    bool m_isDropping = false; // what comes, up to the next line feed
};

/// A connected peer. It reads while there is room for its calls and replies, and lives until it has said all
/// it will say and heard all it will hear, or is gone.
/// @threads main thread.
class JsonRpcConnection : public qel::Object {
    QEL_CLASS(JsonRpcConnection, qel::Object)

public:
    JsonRpcConnection(qel::platform::FileHandle socket, qel::platform::PeerIdentity peer,
                      std::shared_ptr<const JsonRpcRights> rights, const JsonRpcLimits& limits);

    /// The socket; closed when the connection is.
    const qel::platform::FileHandle& socket() const { return m_socket; }
    /// Who it is.
    const qel::platform::PeerIdentity& peer() const { return m_peer; }
    /// Whether the peer has the right @p right.
    bool hasRight(std::string_view right) const { return m_rights->has(m_peer, right); }

    /// Whether more may be read.
    bool wantsInput();
    /// Whether replies wait to be sent.
    bool hasOutput() const { return m_sent < m_output.size(); }
    /// Whether a message can be taken now.
    bool hasMessage();
    /// Whether calls run, or replies are not yet sent.
    bool isBusy() const { return m_openCalls > 0 || hasOutput(); }
    /// Whether the connection has ended.
    bool isClosed() const { return !m_socket.isOpen(); }

    /// Reads what has arrived, as much as one pass takes.
    void receive();
    /// Takes one message and starts its calls. @return how many calls or messages were refused.
    std::size_t processMessage(const qel::RpcProvider& provider, FinishedCalls& finished);
    /// Takes the reply of a call that has ended.
    void answer(JsonRpcCall& call);
    /// Appends a reply that is no answer to a call of this peer.
    void refuse(JsonRpcError error);
    /// Sends what the peer takes, and closes a connection that is over, or stalled for too long.
    /// @param nowMs  reading of a clock that never goes back.
    void flush(qel::int64 nowMs);
    /// Ends the connection.
    void close();

private:
    std::size_t startCalls(const JsonRpcMessage& message, const qel::RpcProvider& provider,
                           FinishedCalls& finished);
    std::optional<JsonRpcError> judge(const JsonRpcRequest& request, const qel::RpcProvider& provider) const;
    void send();

    qel::platform::FileHandle m_socket;
    const qel::platform::PeerIdentity m_peer;
    const std::shared_ptr<const JsonRpcRights> m_rights;
    const JsonRpcLimits m_limits;
    JsonRpcInput m_input;
    std::string m_output;
    std::size_t m_sent = 0; // of m_output
    std::size_t m_openCalls = 0;
    bool m_hasProgressed = true;
    qel::int64 m_lastProgressMs = 0;
};

} // namespace qelserver
