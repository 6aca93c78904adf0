// Client: a connection to the server that makes calls.
#pragma once

#include <nlohmann/json.hpp>
#include <qel/foundation/base/line_splitter.h>
#include <qel/platform/file_system.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qelcall {

/// The outcome of a call. Exactly one member is set.
struct Answer {
    std::optional<nlohmann::json> result; ///< the result, if the call ran
    std::string refusal;                  ///< why the server refused the call
    std::string failure;                  ///< why there is no answer
};

/// Makes calls one after the other and waits for each answer.
class Client {
public:
    /// @param timeoutMs  how long to wait for the connection and for each reply.
    explicit Client(int timeoutMs);

    /// Connects to the server. @return why that failed; empty if it is connected.
    std::string connect(const std::string& socketPath);
    /// Calls @p method. @param arguments  an array or an object.
    Answer call(const std::string& method, const nlohmann::json& arguments);

private:
    using Deadline = std::int64_t;

    std::string wait(bool forSending, Deadline deadline) const;
    std::string send(std::string_view text, Deadline deadline);
    std::string receiveLine(std::string_view& line, Deadline deadline);
    std::string receiveMore(Deadline deadline);

    qel::platform::FileHandle m_socket;
    qel::LineSplitter m_received;
    int m_timeoutMs;
    int m_lastId = 0;
};

} // namespace qelcall
