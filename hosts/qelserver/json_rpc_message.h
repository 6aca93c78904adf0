// The messages of JSON-RPC 2.0, and how Items are written in them.
#pragma once

#include "json_rpc_limits.h"

#include <qel/store/core/item.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qelserver {

/// Why a message or a call got an error: the codes of the protocol, and the server's own from -32000 down.
enum class JsonRpcError : int {
    ParseError = -32700,     ///< not JSON
    InvalidRequest = -32600, ///< JSON, but not a request
    MethodNotFound = -32601, ///< the method is not registered
    InvalidParams = -32602,  ///< the arguments can't be converted to an Item
    InternalError = -32603,  ///< the handler failed
    TooLarge = -32000,       ///< the message exceeds the limit
    TooDeep = -32001,        ///< nesting exceeds the limit
    CodeRefused = -32002,    ///< the arguments contain code for the script machine
    NotPermitted = -32003,   ///< the peer lacks the right
    TooMany = -32004,        ///< too many calls or connections
    ReplyTooLarge = -32005,  ///< the call ran, but its result exceeds the limit
    NotStored = -32006,      ///< what the call wrote could not be stored and was rolled back
};

/// One call of a message.
struct JsonRpcRequest {
    std::string method;
    qel::Item arguments;
    std::string id = "null";             ///< JSON text, byte for byte as received
    bool isNotification = false;         ///< the peer wants no reply
    std::optional<JsonRpcError> refusal; ///< why the call must not run; empty if it may
};

/// One line: a call or a batch of calls. Each call is parsed by its own readCall(). A line that is not a
/// message counts as one call, which is refused.
class JsonRpcMessage {
public:
    /// Checks @p line and finds its calls.
    JsonRpcMessage(std::string_view line, const JsonRpcLimits& limits);

    /// Returns true if the replies must be sent as an array.
    bool isBatch() const { return m_isBatch; }
    /// Returns the number of calls, at least 1.
    std::size_t size() const { return m_calls.size(); }
    /// Parses the call @p index, which must be below size(). The elements of an array of params become the
    /// elements of the argument list. An object whose only member is "$item" is replaced by the Item whose
    /// bytes that member holds in base 64 with check (Item::setBase64crc); it can hold values that JSON
    /// lacks. Any other object is refused, because no call has named parameters.
    JsonRpcRequest readCall(std::size_t index) const;

private:
    struct Span {
        std::size_t begin;
        std::size_t size;
    };

    std::string m_line;
    std::vector<Span> m_calls; // in m_line
    JsonRpcLimits m_limits;
    std::optional<JsonRpcError> m_refusal;
    bool m_isBatch = false;
};

/// Returns an error as a reply, without a line feed.
std::string errorReply(JsonRpcError error, std::string_view id);
/// Returns the reply to a finished call, without a line feed. An empty result becomes null, a single element
/// becomes its value (a "table" Prefix and its SubItem count as one element), several become an array, and
/// elements that JSON can't represent become {"$item": ...}.
/// @errors a result that contains code becomes an internal error, and one whose text is longer than
///         @p mostBytes becomes the error ReplyTooLarge.
std::string resultReply(const qel::Item& result, std::string_view id, std::size_t mostBytes);
/// Returns the replies of a batch as one, without a line feed.
std::string batchReply(const std::vector<std::string>& replies);

} // namespace qelserver
