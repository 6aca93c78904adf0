// JsonRpcLimits: what peers of the JSON-RPC server can't make it exceed.
#pragma once

#include <qel/foundation/base/types.h>

#include <cstddef>

namespace qelserver {

/// Bounds of what peers can make the server do and keep. Whoever reaches one waits, or gets an error.
struct JsonRpcLimits {
    std::size_t lineBytes = 1 << 20;   ///< a longer message is refused
    int depth = 64;                    ///< arrays, objects and lists within each other; more are refused
    std::size_t batchCalls = 64;       ///< calls in a batch; more are refused
    std::size_t openCalls = 64;        ///< of a peer's unanswered calls; more calls wait
    std::size_t replyBytes = 1 << 20;  ///< of the results of a message; a larger one becomes an error
    std::size_t unsentBytes = 1 << 18; ///< of replies a peer does not read; more messages wait
    std::size_t connections = 256;     ///< of all peers; see JsonRpcServer::adopt()
    std::size_t connectionsOfOtherUser = 32; ///< of one user that is not the server's; more are turned away
    std::size_t bytesPerPass = 1 << 16;      ///< read from one peer in one pass
    qel::int64 passMs = 4;                   ///< after which a pass leaves calls for the next one
    qel::int64 stallMs = 30'000;             ///< a peer that reads no reply for so long is dropped
};

} // namespace qelserver
