#include "json_rpc_call.h"

#include "json_rpc_connection.h"

#include <qel/foundation/log/message_stream.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace qelserver {

namespace {

constexpr int kNoTransfer = 1;

} // namespace

FinishedCalls::FinishedCalls() = default;
FinishedCalls::~FinishedCalls() = default;

void FinishedCalls::push(JsonRpcCall* call) {
    const qel::MutexLock lock(m_mutex);
    if (!m_isClosed) m_calls.emplace_back(call);
}

qel::Vector<qel::SmartPointer<JsonRpcCall>> FinishedCalls::takeAll() {
    const qel::MutexLock lock(m_mutex);
    return std::exchange(m_calls, {});
}

void FinishedCalls::close() {
    qel::Vector<qel::SmartPointer<JsonRpcCall>> dropped; // released outside the lock
    const qel::MutexLock lock(m_mutex);
    m_isClosed = true;
    dropped.swap(m_calls);
}

bool JsonRpcReply::putPart(std::size_t index, std::string part) {
    m_room -= std::min(m_room, part.size());
    m_parts[index] = std::move(part);
    return --m_missing == 0;
}

std::string JsonRpcReply::text() const {
    std::vector<std::string> replies;
    std::copy_if(m_parts.begin(), m_parts.end(), std::back_inserter(replies),
                 [](const std::string& part) { return !part.empty(); });
    if (replies.empty()) return {};
    return (m_isBatch ? batchReply(replies) : replies.front()) + "\n";
}

JsonRpcCall::JsonRpcCall(JsonRpcConnection& connection, FinishedCalls& finished, JsonRpcReply& reply,
                         std::size_t index, const JsonRpcRequest& request,
                         std::shared_ptr<const qel::RpcFunction> handler)
    : m_connection(&connection),
      m_finishedCalls(&finished),
      m_reply(&reply),
      m_index(index),
      m_id(request.isNotification ? std::string() : request.id),
      m_handler(std::move(handler)) {
    setMethodName(request.method.c_str());
    setArguments(request.arguments);
}

JsonRpcCall::~JsonRpcCall() = default;

void JsonRpcCall::run() {
    try {
        RpcContextInternal::run(*m_handler, this);
        if (hasEventHandlers()) callEventHandlers(this); // the transfer has failed
    } catch (const std::exception& exception) {
        fail(JsonRpcError::InternalError);
        qel::logging::error() << "rpc call '" << getMethodName() << "' threw: " << exception.what();
    }
    if (hasEventHandlers()) finish(); // no further event will come
}

bool JsonRpcCall::putReplyPart() {
    std::string text;
    if (!m_id.empty())
        text = m_error ? errorReply(*m_error, m_id) : resultReply(result(), m_id, m_reply->room());
    return m_reply->putPart(m_index, std::move(text));
}

void JsonRpcCall::finish() {
    if (markFinished()) m_finishedCalls->push(this);
}

qel::String JsonRpcCall::getFileTransferTargetPath(const char*) const {
    return {};
}

void JsonRpcCall::initiateFileTransfer(int, const qel::Vector<qel::Pair<qel::String, qel::String>>&) {}

bool JsonRpcCall::getFileTransferStatus(int& code, qel::String& status) const {
    code = kNoTransfer;
    status = "the connection carries no files";
    return true;
}

void JsonRpcCall::getRemotePaths(qel::Vector<qel::String>&) const {}

bool JsonRpcCall::hasRight(const char* right) const {
    return m_connection->hasRight(right ? right : "");
}

qel::Object* JsonRpcCall::getCaller() const {
    return m_connection.get();
}

qel::GUID JsonRpcCall::getUserGUID() const {
    return {};
}

} // namespace qelserver
