// JsonRpcCall: one call of a peer, from its request to its reply.
#pragma once

#include "json_rpc_message.h"

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/rpc/rpc_context_internal.h>

#include <string>
#include <vector>

namespace qelserver {

class JsonRpcCall;
class JsonRpcConnection;

/// Calls that were finished, on whichever thread, and wait for the main thread to reply to them.
class FinishedCalls : public qel::Object {
    QEL_CLASS(FinishedCalls, qel::Object)

public:
    FinishedCalls();
    ~FinishedCalls() override;

    /// Appends @p call, unless nobody takes calls any more. @threads any thread.
    void push(JsonRpcCall* call);
    /// Takes all calls away. @threads any thread.
    qel::Vector<qel::SmartPointer<JsonRpcCall>> takeAll();
    /// Drops all calls, those to come too. @threads any thread.
    void close();

private:
    qel::Mutex m_mutex;
    qel::Vector<qel::SmartPointer<JsonRpcCall>> m_calls QEL_GUARDED_BY(m_mutex);
    bool m_isClosed QEL_GUARDED_BY(m_mutex) = false;
};

/// The reply to one message: it is whole when all calls of the message have put their part in.
class JsonRpcReply : public qel::Object {
    QEL_CLASS(JsonRpcReply, qel::Object)

public:
    /// Waits for @p count parts. @param resultBytes  how much room there is for all results.
    JsonRpcReply(bool isBatch, std::size_t count, std::size_t resultBytes)
        : m_isBatch(isBatch), m_parts(count), m_missing(count), m_room(resultBytes) {}

    /// Puts part @p index in its place; an empty part stands for no reply. @return whether the reply is
    /// whole.
    bool putPart(std::size_t index, std::string part);
    /// How many bytes are left for results.
    std::size_t room() const { return m_room; }
    /// The text of the whole reply; empty if there is nothing to say.
    std::string text() const;

private:
    const bool m_isBatch;
    std::vector<std::string> m_parts;
    std::size_t m_missing;
    std::size_t m_room;
};

/// The state of one call for its handler. Contexts keep it alive, and it keeps its connection alive. No files
/// are transferred: event handlers see the transfer fail as soon as the handler has returned, and a call
/// whose event handlers wait on is finished.
/// @threads main thread; finish() on any.
class JsonRpcCall : public qel::Object, public qel::RpcContextInternal {
    QEL_CLASS(JsonRpcCall, qel::Object)

public:
    /// The call that @p request asks for; its reply is part @p index of @p reply.
    JsonRpcCall(JsonRpcConnection& connection, FinishedCalls& finished, JsonRpcReply& reply,
                std::size_t index, const JsonRpcRequest& request);
    ~JsonRpcCall() override;

    /// Runs the handler. An exception of it is logged and becomes an internal error.
    void run(const qel::RpcFunction& handler);
    /// Puts the result of the finished call into the reply to its message. @return whether that is whole.
    bool putResult();

    /// Who called.
    JsonRpcConnection& connection() const { return *m_connection; }
    /// The reply to the message that the call came in.
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
    const std::string m_id; // empty: a notification
    bool m_hasThrown = false;
};

} // namespace qelserver
