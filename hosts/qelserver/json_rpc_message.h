// The messages of JSON-RPC 2.0, and how they carry Items.
#pragma once

#include "json_rpc_limits.h"

#include <qel/store/core/item.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qelserver {

/// Why a message or a call was refused: the codes of the protocol, and the server's own from -32000 down.
enum class JsonRpcError : int {
    ParseError = -32700,     ///< not JSON
    InvalidRequest = -32600, ///< JSON, but not a request
    MethodNotFound = -32601, ///< nobody registered the method
    InvalidParams = -32602,  ///< the arguments can't be turned into an Item
    InternalError = -32603,  ///< the handler failed
    TooLarge = -32000,       ///< a line beyond the limit
    TooDeep = -32001,        ///< nested beyond the limit
    CodeRefused = -32002,    ///< code for the script machine in the arguments
    NotPermitted = -32003,   ///< the peer lacks the right
    TooMany = -32004,        ///< too many calls or connections
    ReplyTooLarge = -32005,  ///< the call was done, but its result is beyond the limit
};

/// One call of a message.
struct JsonRpcRequest {
    std::string method;
    qel::Item arguments;
    std::string id = "null";             ///< JSON text, byte for byte as it came
    bool isNotification = false;         ///< no reply is wanted
    std::optional<JsonRpcError> refusal; ///< it must not run
};

/// One line: a call or a batch of calls, each of which is taken apart when it is its turn. A line that is no
/// message counts as one call, which is refused.
class JsonRpcMessage {
public:
    /// Checks @p line and finds its calls.
    JsonRpcMessage(std::string_view line, const JsonRpcLimits& limits);

    /// Whether the replies are to come as an array.
    bool isBatch() const { return m_isBatch; }
    /// How many calls there are, at least 1.
    std::size_t size() const { return m_calls.size(); }
    /// The call @p index, below size(). The elements of an array of params become those of the argument list.
    /// An object whose one member is "$item" stands for the Item whose bytes are that text in base 64 with
    /// check (Item::setBase64crc), which has forms for what JSON lacks; any other object is refused, because
    /// no call has named parameters.
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

/// The reply to a call that was refused, without a line feed.
std::string errorReply(JsonRpcError error, std::string_view id);
/// The reply to a call that has ended, without a line feed: null for an empty result, the value of a single
/// element (a "table" Prefix and its SubItem count as one), else an array; {"$item": ...} for elements that
/// JSON has no form for. A result that holds code becomes an internal error, and one whose text would have
/// more than @p mostBytes bytes becomes the error ReplyTooLarge.
std::string resultReply(const qel::Item& result, std::string_view id, std::size_t mostBytes);
/// The replies of a batch as one, without a line feed.
std::string batchReply(const std::vector<std::string>& replies);

} // namespace qelserver
