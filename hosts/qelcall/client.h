// Client: the caller's end of a connection to the server.
#pragma once

#include <nlohmann/json.hpp>
#include <qel/platform/file_system.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qelcall {

/// What became of a call.
struct Answer {
    std::optional<nlohmann::json> result; ///< what the call gave, if it ran
    std::string refusal;                  ///< else why the server refused it
    std::string failure;                  ///< else why there is no answer
};

/// Calls methods one after the other and waits for each.
class Client {
public:
    /// @param timeoutMs  how long to wait for a reply.
    explicit Client(int timeoutMs) : m_timeoutMs(timeoutMs) {}

    /// Connects to the server. @return what went wrong; empty when nothing did.
    std::string connect(const std::string& socketPath);
    /// Calls @p method. @param arguments  an array or an object.
    Answer call(const std::string& method, const nlohmann::json& arguments);

private:
    using Deadline = std::int64_t;

    std::string wait(bool forSending, Deadline deadline) const;
    std::string send(std::string_view text, Deadline deadline);
    std::string receiveLine(std::string& line, Deadline deadline);

    qel::platform::FileHandle m_socket;
    std::string m_received;
    int m_timeoutMs;
    int m_lastId = 0;
};

} // namespace qelcall
