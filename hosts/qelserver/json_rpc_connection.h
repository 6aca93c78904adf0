// JsonRpcConnection: one peer of the JSON-RPC server, its lines and its replies.
#pragma once

#include "json_rpc_call.h"
#include "json_rpc_channel.h"
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

    /// What takeLine() found.
    enum class Line { None, Whole, TooLong };

    /// Appends bytes; those that belong to a line that was too long are dropped.
    void append(std::string_view bytes);
    /// Nothing more will come: what is left counts as a line.
    void end() { m_hasEnded = true; }
    /// Whether end() was called.
    bool hasEnded() const { return m_hasEnded; }
    /// Whether takeLine() would return a line or an error.
    bool hasLine();
    /// Takes the next line. A line that is too long is reported once, as soon as that is known.
    /// @param line  valid until the next operation.
    Line takeLine(std::string_view& line);
    /// Frees the memory of the lines that were taken.
    void dropTaken();

private:
    const std::size_t m_lineLimit;
    std::string m_bytes;
    std::size_t m_begin = 0;   // of the line to take next
    std::size_t m_scanned = 0; // no line feed between begin and here
    bool m_hasEnded = false;
    bool m_isDropping = false; // what comes, up to the next line feed
};

/// A connected peer: receive() reads its messages, runNextCall() runs their calls one by one, putResult()
/// gathers the results, and flush() sends the replies. It reads while there is room for its calls and
/// replies, and lives until the peer has sent all its messages and has got all replies, or is gone.
/// @threads main thread.
class JsonRpcConnection : public qel::Object {
    QEL_CLASS(JsonRpcConnection, qel::Object)

public:
    /// @param nowMs  reading of a clock that never goes back, here and in all operations.
    JsonRpcConnection(std::unique_ptr<JsonRpcChannel> channel, qel::platform::PeerIdentity peer,
                      std::shared_ptr<const JsonRpcRights> rights, const JsonRpcLimits& limits,
                      qel::int64 nowMs);

    /// What to wait for; null if there is nothing to wait for and every pass has to look.
    const qel::platform::FileHandle* socket() const { return m_channel ? m_channel->socket() : nullptr; }
    /// Who it is.
    const qel::platform::PeerIdentity& peer() const { return m_peer; }
    /// Whether the peer has the right @p right.
    bool hasRight(std::string_view right) const { return m_rights->has(m_peer, right); }

    /// Whether more may be read.
    bool wantsInput();
    /// Whether replies wait to be sent.
    bool hasOutput() const { return m_sent < m_output.size(); }
    /// Whether a call can be run now. @param isDraining  only a call of a batch that was begun.
    bool hasCall(bool isDraining);
    /// Whether calls run or wait in a batch that was begun, or replies are not yet sent.
    bool isBusy() const { return m_openCalls > 0 || m_message || hasOutput(); }
    /// Whether the connection has ended.
    bool isClosed() const { return !m_channel; }
    /// When the peer last sent or read anything.
    qel::int64 lastActiveMs() const { return m_lastActiveMs; }

    /// Reads what has arrived, as much as one pass takes.
    void receive(qel::int64 nowMs);
    /// Runs one call: the next one of the batch that was begun, else the first one of the next message. Does
    /// nothing for a blank line. @return whether a call or message was refused.
    bool runNextCall(const qel::RpcProvider& provider, FinishedCalls& finished);
    /// Puts the result of a call that has ended into its reply.
    void putResult(JsonRpcCall& call);
    /// Appends an error that is no reply to a call of this peer.
    void refuse(JsonRpcError error);
    /// Sends what the peer reads, and closes a connection that is over, or stalled for too long.
    void flush(qel::int64 nowMs);
    /// Ends the connection.
    void close();

private:
    /// A message whose calls are being run.
    struct MessageInWork {
        JsonRpcMessage message;
        qel::SmartPointer<JsonRpcReply> reply;
        std::size_t next = 0; // the call to run
    };

    JsonRpcInput::Line beginMessage();
    static std::optional<JsonRpcError> refusalOf(const JsonRpcRequest& request, bool isPermitted,
                                                 bool isRegistered);
    bool isPermitted(const JsonRpcRequest& request, const qel::RpcProvider& provider) const;
    void appendIfWhole(bool isWhole, const JsonRpcReply& reply);
    void send(qel::int64 nowMs);

    std::unique_ptr<JsonRpcChannel> m_channel; // null when closed
    const qel::platform::PeerIdentity m_peer;
    const std::shared_ptr<const JsonRpcRights> m_rights;
    const JsonRpcLimits m_limits;
    JsonRpcInput m_input;
    std::optional<MessageInWork> m_message;
    std::string m_output;
    std::size_t m_sent = 0; // of m_output
    std::size_t m_openCalls = 0;
    qel::int64 m_lastActiveMs;
    qel::int64 m_lastProgressMs; // when the peer last read a reply, or there was none to read
};

} // namespace qelserver
