#include "json_rpc_connection.h"

#include <algorithm>
#include <array>
#include <utility>

namespace qelserver {

namespace {

constexpr std::size_t kChunkBytes = 16 * 1024;
constexpr std::size_t kKeptBytes = 64 * 1024; // a larger buffer is freed after a long line

bool isBlank(std::string_view line) {
    return line.find_first_not_of(" \t\r") == line.npos;
}

bool wouldBlock(const qel::platform::FileError& error) {
    return error == std::errc::resource_unavailable_try_again || error == std::errc::operation_would_block;
}

} // namespace

void JsonRpcInput::append(std::string_view bytes) {
    if (m_isDropping) {
        const std::size_t end = bytes.find('\n');
        if (end == bytes.npos) return;
        bytes.remove_prefix(end + 1);
        m_isDropping = false;
    }
    m_bytes.append(bytes);
}

bool JsonRpcInput::hasLine() {
    const std::size_t found = m_bytes.find('\n', m_scanned);
    m_scanned = found == m_bytes.npos ? m_bytes.size() : found;
    return found != m_bytes.npos || m_scanned - m_begin > m_lineLimit ||
           (m_hasEnded && m_begin < m_bytes.size());
}

JsonRpcInput::Line JsonRpcInput::takeLine(std::string_view& line) {
    if (!hasLine()) return Line::None;
    const bool isWhole = m_scanned < m_bytes.size() || m_hasEnded;
    line = std::string_view(m_bytes).substr(m_begin, m_scanned - m_begin);
    m_begin = m_scanned = std::min(m_scanned + 1, m_bytes.size());
    if (line.size() <= m_lineLimit) return Line::Whole;
    m_isDropping = !isWhole;
    return Line::TooLong;
}

/// Moves the remaining bytes to the front only if they are fewer than the taken ones, so that the work stays
/// linear in the input.
void JsonRpcInput::dropTaken() {
    if (m_begin < m_bytes.size() - m_begin) return;
    m_bytes.erase(0, m_begin);
    m_scanned -= m_begin;
    m_begin = 0;
    if (m_bytes.capacity() > kKeptBytes && m_bytes.size() < kKeptBytes) m_bytes.shrink_to_fit();
}

JsonRpcConnection::JsonRpcConnection(std::unique_ptr<JsonRpcChannel> channel,
                                     qel::platform::PeerIdentity peer,
                                     std::shared_ptr<const JsonRpcRights> rights, const JsonRpcLimits& limits,
                                     qel::int64 nowMs)
    : m_channel(std::move(channel)),
      m_peer(std::move(peer)),
      m_rights(std::move(rights)),
      m_limits(limits),
      m_input(limits.lineBytes),
      m_lastActiveMs(nowMs),
      m_lastProgressMs(nowMs) {}

bool JsonRpcConnection::wantsInput() {
    return !isClosed() && !m_input.hasEnded() && !m_input.hasLine();
}

bool JsonRpcConnection::hasCall(bool isDraining) {
    if (isClosed() || m_openCalls >= m_limits.openCalls) return false;
    if (m_message) return true;
    return !isDraining && m_output.size() - m_sent < m_limits.unsentBytes && m_input.hasLine();
}

void JsonRpcConnection::receive(qel::int64 nowMs) {
    std::array<char, kChunkBytes> chunk;
    for (std::size_t total = 0; total < m_limits.bytesPerPass && wantsInput();) {
        std::size_t count = 0;
        const auto error = m_channel->receive(chunk.data(), chunk.size(), count);
        if (error) {
            if (!wouldBlock(error)) close();
            return;
        }
        m_lastActiveMs = nowMs;
        if (count == 0) m_input.end();
        m_input.append({chunk.data(), count});
        total += count;
    }
}

qel::SmartPointer<JsonRpcCall> JsonRpcConnection::takeCall(const qel::RpcProvider& provider,
                                                           FinishedCalls& finished, qel::uint64& refusals) {
    if (!m_message && beginMessage() == JsonRpcInput::Line::TooLong) {
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

JsonRpcInput::Line JsonRpcConnection::beginMessage() {
    std::string_view line;
    const JsonRpcInput::Line kind = m_input.takeLine(line);
    if (kind == JsonRpcInput::Line::Whole && !isBlank(line)) {
        JsonRpcMessage message(line, m_limits);
        const qel::SmartPointer<JsonRpcReply> reply(
            new JsonRpcReply(message.isBatch(), message.size(), m_limits.replyBytes));
        m_message.emplace(MessageInWork{std::move(message), reply});
    }
    m_input.dropTaken();
    return kind;
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
    const bool isOver = m_input.hasEnded() && !m_input.hasLine() && !isBusy();
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
