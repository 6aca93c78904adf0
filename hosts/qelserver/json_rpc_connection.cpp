#include "json_rpc_connection.h"

#include <algorithm>
#include <utility>

namespace qelserver {

namespace {

constexpr std::size_t kChunkBytes = 16 * 1024;
constexpr std::size_t kKeptBytes = 64 * 1024; // a larger buffer is freed after a long line

using Found = qel::LineSplitter::Found;

bool isBlank(std::string_view line) {
    return line.find_first_not_of(" \t\r") == line.npos;
}

bool wouldBlock(const qel::platform::FileError& error) {
    return error == std::errc::resource_unavailable_try_again || error == std::errc::operation_would_block;
}

} // namespace

JsonRpcConnection::JsonRpcConnection(std::unique_ptr<JsonRpcChannel> channel,
                                     qel::platform::PeerIdentity peer,
                                     std::shared_ptr<const JsonRpcRights> rights, const JsonRpcLimits& limits,
                                     qel::int64 nowMs)
    : m_channel(std::move(channel)),
      m_peer(std::move(peer)),
      m_rights(std::move(rights)),
      m_limits(limits),
      m_input({.longestLine = limits.lineBytes, .firstCapacity = kChunkBytes, .keptCapacity = kKeptBytes}),
      m_lastActiveMs(nowMs),
      m_lastProgressMs(nowMs) {}

bool JsonRpcConnection::wantsInput() {
    return !isClosed() && !m_inputHasEnded && !m_input.hasLine();
}

bool JsonRpcConnection::hasCall(bool isDraining) {
    if (isClosed() || m_openCalls >= m_limits.openCalls) return false;
    if (m_message) return true;
    return !isDraining && m_output.size() - m_sent < m_limits.unsentBytes && hasLine();
}

void JsonRpcConnection::receive(qel::int64 nowMs) {
    for (std::size_t total = 0; total < m_limits.bytesPerPass && wantsInput();) {
        const qel::ByteSpan room = m_input.room();
        std::size_t count = 0;
        const auto error =
            m_channel->receive(reinterpret_cast<char*>(room.data), std::min(room.size, kChunkBytes), count);
        if (error) {
            if (!wouldBlock(error)) close();
            return;
        }
        m_lastActiveMs = nowMs;
        if (count == 0) m_inputHasEnded = true;
        m_input.append(count);
        total += count;
    }
}

qel::SmartPointer<JsonRpcCall> JsonRpcConnection::takeCall(const qel::RpcProvider& provider,
                                                           FinishedCalls& finished, qel::uint64& refusals) {
    if (!m_message && beginMessage() == Found::TooLong) {
        ++refusals;
        refuse(JsonRpcError::TooLarge);
    }
    if (!m_message) return nullptr;
    const std::size_t index = m_message->next++;
    const JsonRpcRequest request = m_message->message.readCall(index);
    const qel::SmartPointer<JsonRpcReply> reply = m_message->reply;
    if (m_message->next == m_message->message.size()) m_message.reset();

    auto handler = provider.findRPC(request.method.c_str());
    if (const auto refusal = refusalOf(request, provider, handler != nullptr)) {
        ++refusals;
        std::string text = request.isNotification ? std::string() : errorReply(*refusal, request.id);
        if (reply->putPart(index, std::move(text))) queueReply(*reply);
        return nullptr;
    }
    ++m_openCalls;
    return new JsonRpcCall(*this, finished, *reply, index, request, std::move(handler));
}

/// When the input has ended, the bytes after the last line feed are a line as well.
bool JsonRpcConnection::hasLine() {
    return m_input.hasLine() || (m_inputHasEnded && !m_input.empty());
}

Found JsonRpcConnection::takeLine(std::string_view& line) {
    const Found found = m_input.take(line);
    const bool isAtEnd = found == Found::Nothing && m_inputHasEnded;
    return isAtEnd && m_input.takeRest(line) ? Found::Line : found;
}

Found JsonRpcConnection::beginMessage() {
    std::string_view line;
    const Found found = takeLine(line);
    if (found == Found::Line && !isBlank(line)) {
        JsonRpcMessage message(line, m_limits);
        const qel::SmartPointer<JsonRpcReply> reply(
            new JsonRpcReply(message.isBatch(), message.size(), m_limits.replyBytes));
        m_message.emplace(MessageInWork{std::move(message), reply});
    }
    return found;
}

/// Asks for the right first: a peer that lacks it does not learn whether the method exists.
std::optional<JsonRpcError> JsonRpcConnection::refusalOf(const JsonRpcRequest& request,
                                                         const qel::RpcProvider& provider,
                                                         bool isRegistered) const {
    if (request.refusal) return request.refusal;
    if (!isPermitted(request, provider)) return JsonRpcError::NotPermitted;
    if (!isRegistered) return JsonRpcError::MethodNotFound;
    return std::nullopt;
}

bool JsonRpcConnection::isPermitted(const JsonRpcRequest& request, const qel::RpcProvider& provider) const {
    const qel::String* const right = provider.findRight(request.method.c_str());
    const bool isNamed = right && !right->empty();
    return hasRight(isNamed ? std::string(*right) : "rpc:" + request.method);
}

void JsonRpcConnection::replyTo(JsonRpcCall& call) {
    --m_openCalls;
    if (call.putReplyPart()) queueReply(call.reply());
}

void JsonRpcConnection::queueReply(const JsonRpcReply& reply) {
    if (!isClosed()) m_output += reply.text();
}

void JsonRpcConnection::refuse(JsonRpcError error) {
    m_output += errorReply(error, "null") + "\n";
}

void JsonRpcConnection::flush(qel::int64 nowMs) {
    if (isClosed()) return;
    sendOutput(nowMs);
    if (!hasOutput()) m_lastProgressMs = nowMs;
    const bool isOver = m_inputHasEnded && !hasLine() && !isBusy();
    if (isOver || nowMs - m_lastProgressMs > m_limits.stallMs) close();
}

void JsonRpcConnection::sendOutput(qel::int64 nowMs) {
    while (hasOutput()) {
        std::size_t count = 0;
        const auto error = m_channel->send(m_output.data() + m_sent, m_output.size() - m_sent, count);
        if (error) {
            if (!wouldBlock(error)) close();
            break;
        }
        m_sent += count;
        m_lastActiveMs = m_lastProgressMs = nowMs;
    }
    if (m_sent >= m_output.size() - m_sent) {
        m_output.erase(0, m_sent);
        m_sent = 0;
    }
}

void JsonRpcConnection::close() {
    m_channel.reset();
    m_message.reset();
    m_output.clear();
    m_sent = 0;
}

} // namespace qelserver
