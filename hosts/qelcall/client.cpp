#include "client.h"

#include <qel/platform/local_socket.h>
#include <qel/platform/system_error.h>
#include <qel/system/core/clock.h>

#include <algorithm>
#include <array>
#include <thread>

namespace qelcall {

namespace {

using namespace qel::platform;
using nlohmann::json;

constexpr std::size_t kLongestAnswer = std::size_t(64) << 20;
constexpr std::size_t kChunkBytes = 16 * 1024;

std::int64_t nowMs() {
    return qel::Clock::current().steadyNanoseconds() / 1'000'000;
}

bool wouldBlock(const FileError& error) {
    return error == std::errc::resource_unavailable_try_again;
}

Answer readAnswer(std::string_view line, int id) {
    const json reply = json::parse(line, nullptr, false);
    const bool isReply = reply.is_object() && (reply.contains("result") || reply.contains("error"));
    if (!isReply) return {{}, {}, "the server's answer is not a reply"};
    if (reply.contains("error")) {
        const json& error = reply["error"];
        const json message = error.is_object() ? error.value("message", json()) : json();
        return {{}, message.is_string() ? message.get<std::string>() : "refused", {}};
    }
    if (reply.value("id", json()) != id) return {{}, {}, "the server's answer is to another call"};
    return {reply["result"], {}, {}};
}

} // namespace

Client::Client(int timeoutMs)
    : m_received({.longestLine = kLongestAnswer, .firstCapacity = kChunkBytes}), m_timeoutMs(timeoutMs) {}

std::string Client::connect(const std::string& socketPath) {
    FileError error = connectLocally(m_socket, socketPath.c_str());
    const std::int64_t deadline = nowMs() + m_timeoutMs;
    while (wouldBlock(error) && nowMs() < deadline) { // the queue of connections is full
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        error = connectLocally(m_socket, socketPath.c_str());
    }
    return error ? "no server at '" + socketPath + "': " + qel::platform::errorText(error.value())
                 : std::string();
}

Answer Client::call(const std::string& method, const json& arguments) {
    const int id = ++m_lastId;
    const json request = {{"jsonrpc", "2.0"}, {"method", method}, {"params", arguments}, {"id", id}};
    const Deadline deadline = nowMs() + m_timeoutMs;
    std::string_view line;
    std::string failure = send(request.dump(-1, ' ', false, json::error_handler_t::replace) + "\n", deadline);
    // A server that refuses the connection says why before it closes it.
    const std::string received = receiveLine(line, deadline);
    if (failure.empty() || received.empty()) failure = received;
    return failure.empty() ? readAnswer(line, id) : Answer{{}, {}, failure};
}

/// Waits until the socket can send or has received something. @return why that failed; empty after an event.
std::string Client::wait(bool forSending, Deadline deadline) const {
    const std::int64_t left = deadline - nowMs();
    if (left <= 0) return "the server does not answer";
    std::array<SocketWatch, 1> watched{{{&m_socket, !forSending, forSending}}};
    const FileError error = waitForSockets(watched, static_cast<int>(std::min<std::int64_t>(left, 1000)));
    return error ? qel::platform::errorText(error.value()) : std::string();
}

std::string Client::send(std::string_view text, Deadline deadline) {
    while (!text.empty()) {
        std::size_t done = 0;
        const FileError error = sendSome(m_socket, text.data(), text.size(), done);
        if (error && !wouldBlock(error)) return "the server has closed the connection";
        text.remove_prefix(done);
        if (!error) continue;
        if (std::string problem = wait(true, deadline); !problem.empty()) return problem;
    }
    return {};
}

/// Receives until a line has arrived. @return why that failed; empty if @p line was set.
std::string Client::receiveLine(std::string_view& line, Deadline deadline) {
    for (;;) {
        const auto found = m_received.take(line);
        if (found == qel::LineSplitter::Found::Line) return {};
        if (found == qel::LineSplitter::Found::TooLong) return "the server's answer is too long";
        if (std::string problem = receiveMore(deadline); !problem.empty()) return problem;
    }
}

std::string Client::receiveMore(Deadline deadline) {
    const qel::ByteSpan room = m_received.room();
    std::size_t done = 0;
    const FileError error = receiveSome(m_socket, room.data, room.size, done);
    if (wouldBlock(error)) return wait(false, deadline);
    if (error || done == 0) return "the server has closed the connection";
    m_received.append(done);
    return {};
}

} // namespace qelcall
