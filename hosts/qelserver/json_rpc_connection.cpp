#include "json_rpc_connection.h"

#include <algorithm>
#include <array>
#include <utility>

namespace qelserver {

namespace {

constexpr std::size_t kChunkBytes = 16 * 1024;
constexpr std::size_t kKeptBytes = 64 * 1024; // of the room that a long line took

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

JsonRpcInput::Line JsonRpcInput::take(std::string_view& line) {
    if (!hasLine()) return Line::None;
    const bool isWhole = m_scanned < m_bytes.size() || m_hasEnded;
    line = std::string_view(m_bytes).substr(m_begin, m_scanned - m_begin);
    m_begin = m_scanned = std::min(m_scanned + 1, m_bytes.size());
    if (line.size() <= m_lineLimit) return Line::Whole;
    m_isDropping = !isWhole;
    return Line::TooLong;
}

/// What is left moves to the front only when it is less than what was taken, so that no byte moves often.
void JsonRpcInput::dropTaken() {
    if (m_begin < m_bytes.size() - m_begin) return;
    m_bytes.erase(0, m_begin);
    m_scanned -= m_begin;
    m_begin = 0;
    if (m_bytes.capacity() > kKeptBytes && m_bytes.size() < kKeptBytes) m_bytes.shrink_to_fit();
}

JsonRpcConnection::JsonRpcConnection(qel::platform::FileHandle socket, qel::platform::PeerIdentity peer,
                                     std::shared_ptr<const JsonRpcRights> rights, const JsonRpcLimits& limits)
    : m_socket(std::move(socket)),
      m_peer(std::move(peer)),
      m_rights(std::move(rights)),
      m_limits(limits),
      m_input(limits.lineBytes) {}

bool JsonRpcConnection::wantsInput() {
    return !isClosed() && !m_input.hasEnded() && !m_input.hasLine();
}

bool JsonRpcConnection::hasMessage() {
    return !isClosed() && m_openCalls < m_limits.openCalls &&
           m_output.size() - m_sent < m_limits.unsentBytes && m_input.hasLine();
}

void JsonRpcConnection::receive() {
    std::array<char, kChunkBytes> chunk;
    for (std::size_t total = 0; total < m_limits.bytesPerPass && wantsInput();) {
        std::size_t count = 0;
        const auto error = qel::platform::receiveSome(m_socket, chunk.data(), chunk.size(), count);
        if (error) {
            if (!wouldBlock(error)) close();
            return;
        }
        if (count == 0) m_input.end();
        m_input.append({chunk.data(), count});
        total += count;
    }
}

std::size_t JsonRpcConnection::processMessage(const qel::RpcProvider& provider, FinishedCalls& finished) {
    std::string_view line;
    const JsonRpcInput::Line kind = m_input.take(line);
    if (kind == JsonRpcInput::Line::TooLong) {
        m_input.dropTaken();
        refuse(JsonRpcError::TooLarge);
        return 1;
    }
    if (kind == JsonRpcInput::Line::None || isBlank(line)) return 0;
    const JsonRpcMessage message = parseMessage(line, m_limits);
    m_input.dropTaken();
    return startCalls(message, provider, finished);
}

std::size_t JsonRpcConnection::startCalls(const JsonRpcMessage& message, const qel::RpcProvider& provider,
                                          FinishedCalls& finished) {
    std::size_t refused = 0;
    const qel::SmartPointer<JsonRpcReply> reply(new JsonRpcReply(message.isBatch, message.requests.size()));
    std::size_t index = 0;
    for (const JsonRpcRequest& request : message.requests) {
        if (isClosed()) break; // a handler has stopped the server
        const std::size_t place = index++;
        if (const auto refusal = judge(request, provider)) {
            ++refused;
            const bool isLast =
                reply->put(place, request.isNotification ? std::string() : errorReply(*refusal, request.id));
            if (isLast) m_output += reply->text();
            continue;
        }
        ++m_openCalls;
        const qel::SmartPointer<JsonRpcCall> call(new JsonRpcCall(*this, finished, *reply, place, request));
        call->run(*provider.findRPC(request.method.c_str()));
    }
    return refused;
}

/// Who lacks the right does not learn whether there is such a method.
std::optional<JsonRpcError> JsonRpcConnection::judge(const JsonRpcRequest& request,
                                                     const qel::RpcProvider& provider) const {
    if (request.refusal) return request.refusal;
    const qel::String* const right = provider.findRight(request.method.c_str());
    const bool isNamed = right && !right->empty();
    if (!hasRight(isNamed ? std::string(*right) : "rpc:" + request.method)) return JsonRpcError::NotPermitted;
    if (!provider.findRPC(request.method.c_str())) return JsonRpcError::MethodNotFound;
    return std::nullopt;
}

void JsonRpcConnection::answer(JsonRpcCall& call) {
    --m_openCalls;
    if (call.answer() && !isClosed()) m_output += call.reply().text();
}

void JsonRpcConnection::refuse(JsonRpcError error) {
    m_output += errorReply(error, "null") + "\n";
}

void JsonRpcConnection::flush(qel::int64 nowMs) {
    if (isClosed()) return;
    if (hasOutput()) send();
    if (!hasOutput() || m_hasProgressed) m_lastProgressMs = nowMs;
    m_hasProgressed = false;
    const bool isOver = m_input.hasEnded() && !m_input.hasLine() && !isBusy();
    if (isOver || nowMs - m_lastProgressMs > m_limits.stallMs) close();
}

void JsonRpcConnection::send() {
    while (hasOutput()) {
        std::size_t count = 0;
        const auto error =
            qel::platform::sendSome(m_socket, m_output.data() + m_sent, m_output.size() - m_sent, count);
        if (error) {
            if (!wouldBlock(error)) close();
            break;
        }
        m_sent += count;
        m_hasProgressed = true;
    }
    if (m_sent >= m_output.size() - m_sent) {
        m_output.erase(0, m_sent);
        m_sent = 0;
    }
}

void JsonRpcConnection::close() {
    m_socket.close();
    m_output.clear();
    m_sent = 0;
}

} // namespace qelserver
