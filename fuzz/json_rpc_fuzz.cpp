// The JSON-RPC server with a peer that sends the input in pieces, whose size is the first byte. The replies
// must be complete lines, and the server must continue to answer.
#include <fuzz/require.h>
#include <hosts/qelserver/json_rpc_server.h>
#include <nlohmann/json.hpp>
#include <qel/foundation/log/message_stream.h>
#include <qel/rpc/rpc_context.h>
#include <qel/system/core/clock.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <string>
#include <string_view>

using namespace qel;
using namespace qelserver;
using nlohmann::json;

namespace {

class Peer {
public:
    explicit Peer(JsonRpcServer& server) : m_server(server) {
        platform::FileHandle other;
        require(!platform::makeSocketPair(m_socket, other));
        server.adopt(std::move(other), {platform::userId(), 0, {}});
    }

    void send(std::string_view bytes) {
        while (!bytes.empty()) {
            size_t done = 0;
            platform::sendSome(m_socket, bytes.data(), bytes.size(), done);
            bytes.remove_prefix(done);
            m_server.poll();
            receive();
        }
    }
    void receive() {
        char chunk[4096];
        size_t done = 0;
        while (!platform::receiveSome(m_socket, chunk, sizeof(chunk), done) && done > 0)
            replies.append(chunk, done);
    }

    std::string replies;

private:
    JsonRpcServer& m_server;
    platform::FileHandle m_socket;
};

void requireReply(const json& reply) {
    require(reply.is_object() && reply["jsonrpc"] == "2.0" && reply.contains("id"));
    require(reply.contains("result") != reply.contains("error"));
}

void requireReplies(std::string_view text) {
    require(text.empty() || text.ends_with('\n'));
    for (; !text.empty(); text.remove_prefix(text.find('\n') + 1)) {
        const json reply = json::parse(text.substr(0, text.find('\n')));
        if (reply.is_array())
            for (const json& part : reply) requireReply(part);
        else
            requireReply(reply);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    logging::setConsoleWriter([](const logging::ConsoleLine&) {});
    static ManualClock clock; // not advanced, so that no pass ends early
    Clock::install(&clock);
    if (!internal::g_system) System::initialize({});
    JsonRpcServer server("", {}, {.lineBytes = 4096, .depth = 16, .batchCalls = 8, .openCalls = 8});
    server.addRPC(
        "echo",
        [](const RpcContext& context) {
            require(!context.getArguments().hasScriptCode());
            context.result().concatItem(context.getArguments());
            context.finish();
        },
        "", "");
    Peer peer(server);
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const size_t piece = bytes.empty() ? 1 : 1 + data[0];
    for (bytes = bytes.substr(std::min<size_t>(1, size)); !bytes.empty();
         bytes.remove_prefix(std::min(piece, bytes.size()))) {
        peer.send(bytes.substr(0, piece));
    }
    peer.send("\n"
              R"({"jsonrpc":"2.0","method":"echo","params":["still here"],"id":"last"})"
              "\n");
    for (int pass = 0; pass < 1000 && server.isBusy(); ++pass) {
        server.poll();
        peer.receive();
    }
    requireReplies(peer.replies);
    require(peer.replies.ends_with(R"({"jsonrpc":"2.0","result":"still here","id":"last"})"
                                   "\n"));
    return 0;
}
