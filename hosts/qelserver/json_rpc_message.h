// The messages of JSON-RPC 2.0, and how Items stand in them.
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
    ParseError = -32700,     ///< no JSON
    InvalidRequest = -32600, ///< JSON, but no request
    MethodNotFound = -32601, ///< nobody registered the method
    InvalidParams = -32602,  ///< the arguments can't be made an Item
    InternalError = -32603,  ///< the handler failed
    TooLarge = -32000,       ///< a line beyond the limit
    TooDeep = -32001,        ///< nested beyond the limit
    CodeRefused = -32002,    ///< code for the script machine in the arguments
    NotPermitted = -32003,   ///< the peer lacks the right
    TooMany = -32004,        ///< too many calls or connections
};

/// One call of a message.
struct JsonRpcRequest {
    std::string method;
    qel::Item arguments;
    std::string id = "null";             ///< JSON text, as it came
    bool isNotification = false;         ///< no reply is wanted
    std::optional<JsonRpcError> refusal; ///< it must not run
};

/// One line. What can't be taken apart has one request, which is refused.
struct JsonRpcMessage {
    bool isBatch = false;
    std::vector<JsonRpcRequest> requests;
};

/// Takes a line apart. The elements of an array of params become those of the argument list, an object
/// becomes its one element, a table. An object whose one member is "$item" stands for the Item whose bytes
/// are that text in base 64 with check (Item::setBase64crc), which has forms for what JSON lacks.
JsonRpcMessage parseMessage(std::string_view line, const JsonRpcLimits& limits);

/// The reply to a call that was refused, without a line feed.
std::string errorReply(JsonRpcError error, std::string_view id);
/// The reply to a call that has ended, without a line feed: null for an empty result, the value of a single
/// element (a "table" Prefix and its SubItem count as one), else an array; {"$item": ...} for elements that
/// JSON has no form for. A result that holds code becomes an internal error.
std::string resultReply(const qel::Item& result, std::string_view id);
/// The replies of a batch as one, without a line feed.
std::string batchReply(const std::vector<std::string>& replies);

} // namespace qelserver
