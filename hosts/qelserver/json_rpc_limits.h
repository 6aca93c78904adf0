// JsonRpcLimits: bounds on what peers can make the JSON-RPC server do and keep.
#pragma once

#include <qel/foundation/base/types.h>

#include <cstddef>

namespace qelserver {

/// The limits of the JSON-RPC server. A peer that reaches one has to wait or receives an error.
struct JsonRpcLimits {
    std::size_t lineBytes = 1 << 20;         ///< of a message; longer ones are refused
    int depth = 64;                          ///< nested arrays, objects and lists; deeper ones are refused
    std::size_t batchCalls = 64;             ///< calls in a batch; larger batches are refused
    std::size_t openCalls = 64;              ///< unfinished calls of a peer; further calls wait
    std::size_t replyBytes = 1 << 20;        ///< results of a message; a result beyond it becomes an error
    std::size_t unsentBytes = 1 << 18;       ///< replies that a peer has not read; further messages wait
    std::size_t connections = 256;           ///< of all peers; see JsonRpcServer::adopt()
    std::size_t connectionsOfOtherUser = 32; ///< of one user other than the server's; more are refused
    std::size_t bytesPerPass = 1 << 16;      ///< read from one peer in one pass
    qel::int64 passMs = 4;                   ///< time for calls in a pass; further calls wait for the next
    qel::int64 stallMs = 30'000;             ///< a peer that reads nothing for longer is disconnected
};

} // namespace qelserver
