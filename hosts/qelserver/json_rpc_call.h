// JsonRpcCall: one call of a peer, from its request to its reply.
#pragma once

#include "json_rpc_message.h"

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/rpc/rpc_context_internal.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qelserver {

class JsonRpcCall;
class JsonRpcConnection;

/// Calls that were finished on any thread and wait until the main thread replies to them.
class FinishedCalls : public qel::Object {
    QEL_CLASS(FinishedCalls, qel::Object)

public:
    FinishedCalls();
    ~FinishedCalls() override;

    /// Appends @p call; does nothing after close(). @threads any thread.
    void push(JsonRpcCall* call);
    /// Removes and returns all calls. @threads any thread.
    qel::Vector<qel::SmartPointer<JsonRpcCall>> takeAll();
    /// Drops all calls, including future ones. @threads any thread.
    void close();

private:
    qel::Mutex m_mutex;
    qel::Vector<qel::SmartPointer<JsonRpcCall>> m_calls QEL_GUARDED_BY(m_mutex);
    bool m_isClosed QEL_GUARDED_BY(m_mutex) = false;
};

/// The reply to one message. It is complete when every call of the message has put in its part.
class JsonRpcReply : public qel::Object {
    QEL_CLASS(JsonRpcReply, qel::Object)

public:
    /// Creates a reply of @p count parts. @param resultBytes  the space for all results together.
    JsonRpcReply(bool isBatch, std::size_t count, std::size_t resultBytes)
        : m_isBatch(isBatch), m_parts(count), m_missing(count), m_room(resultBytes) {}

    /// Stores part @p index; an empty part means that the call gets no reply.
    /// @return true if the reply is complete now.
    bool putPart(std::size_t index, std::string part);
    /// Returns how many bytes are left for results.
    std::size_t room() const { return m_room; }
    /// Returns the text of the complete reply; empty if no call gets a reply.
    std::string text() const;

private:
    const bool m_isBatch;
    std::vector<std::string> m_parts;
    std::size_t m_missing;
    std::size_t m_room;
};

/// The state of one call for its handler. Contexts keep the call alive, and the call keeps its connection
/// alive. The transport transfers no files: event handlers see the transfer fail as soon as the call's
/// handler has returned, and a call whose event handlers keep waiting is finished.
/// @threads main thread; finish() on any.
class JsonRpcCall : public qel::Object, public qel::RpcContextInternal {
    QEL_CLASS(JsonRpcCall, qel::Object)

public:
    /// Creates the call of @p request. Its reply becomes part @p index of @p reply.
    /// @param handler  not null.
    JsonRpcCall(JsonRpcConnection& connection, FinishedCalls& finished, JsonRpcReply& reply,
                std::size_t index, const JsonRpcRequest& request,
                std::shared_ptr<const qel::RpcFunction> handler);
    ~JsonRpcCall() override;

    /// Runs the handler. @errors an exception of the handler is logged and becomes an internal error.
    void run();
    /// Makes @p error the reply to this call, instead of its result. The call still has to be finished.
    void fail(JsonRpcError error) { m_error = error; }
    /// Puts the result or error of the finished call into the reply to its message.
    /// @return true if that reply is complete now.
    bool putReplyPart();

    /// Returns the connection that the call came by.
    JsonRpcConnection& connection() const { return *m_connection; }
    /// Returns the reply to the message that contained the call.
    const JsonRpcReply& reply() const { return *m_reply; }

    void finish() override;
    qel::String getFileTransferTargetPath(const char* target) const override;
    void initiateFileTransfer(int direction,
                              const qel::Vector<qel::Pair<qel::String, qel::String>>& files) override;
    bool getFileTransferStatus(int& code, qel::String& status) const override;
    void getRemotePaths(qel::Vector<qel::String>& paths) const override;
    bool hasRight(const char* right) const override;
    qel::Object* getCaller() const override;
    qel::GUID getUserGUID() const override;

private:
    const qel::SmartPointer<JsonRpcConnection> m_connection;
    const qel::SmartPointer<FinishedCalls> m_finishedCalls;
    const qel::SmartPointer<JsonRpcReply> m_reply;
    const std::size_t m_index;
    const std::string m_id; // empty for a notification
    const std::shared_ptr<const qel::RpcFunction> m_handler;
    std::optional<JsonRpcError> m_error;
};

} // namespace qelserver
