#include "../../hosts/qelserver/json_rpc_server.h"
#include "../support/failing_files.h"
#include "../support/log_capture.h"
#include "../support/scratch_folder.h"
#include "../support/system_fixture.h"

#include <qel/platform/shared_folder.h>
#include <qel/rpc/rpc_context.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <thread>

namespace {

using namespace qel;
using namespace qelserver;
using platform::FileHandle;
using platform::PeerIdentity;
using test::LogCapture;

std::string error(int code, const std::string& message, const std::string& id = "null") {
    return R"({"jsonrpc":"2.0","error":{"code":)" + std::to_string(code) + R"(,"message":")" + message +
           R"("},"id":)" + id + "}\n";
}

std::string result(const std::string& value, const std::string& id) {
    return R"({"jsonrpc":"2.0","result":)" + value + R"(,"id":)" + id + "}\n";
}

std::string call(const std::string& method, const std::string& params = "[]", const std::string& id = "1") {
    return R"({"jsonrpc":"2.0","method":")" + method + R"(","params":)" + params + R"(,"id":)" + id + "}\n";
}

/// Returns an Item as its bytes.
std::string packed(const Item& item) {
    return R"({"$item":")" + item.getBase64crc() + R"("})";
}

std::string withoutEnd(const std::string& line) {
    return line.substr(0, line.size() - 1);
}

/// Returns one line that holds the lines as a batch.
std::string batch(std::initializer_list<std::string> lines) {
    std::string text;
    for (const std::string& line : lines) text += (text.empty() ? "[" : ",") + withoutEnd(line);
    return text + "]\n";
}

std::string note(const std::string& method) {
    return R"({"jsonrpc":"2.0","method":")" + method + "\"}\n";
}

const std::string kNotPermitted = error(-32003, "Not permitted", "1");
const std::string kDone = result("null", "1");

/// The other end of a connection.
class Peer {
public:
    void send(std::string_view text) {
        std::size_t done = 0;
        const auto failure = platform::sendSome(socket, text.data(), text.size(), done);
        ASSERT_FALSE(failure) << failure.message();
        ASSERT_EQ(done, text.size());
    }
    /// Returns what has arrived, followed by "<end>" if nothing more will arrive.
    std::string receive() {
        std::string text;
        char chunk[4096];
        for (std::size_t done = 0;; text.append(chunk, done)) {
            if (platform::receiveSome(socket, chunk, sizeof(chunk), done)) return text;
            if (done == 0) return text + "<end>";
        }
    }

    FileHandle socket;
};

class JsonRpcTest : public test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        makeServer({});
    }
    void TearDown() override {
        kept.clear();
        server.reset();
        SystemFixture::TearDown();
    }

    void makeServer(const JsonRpcLimits& limits, const std::string& rightsText = "") {
        std::string problem;
        server.emplace("", *JsonRpcRights::parse(rightsText, problem), limits);
        const auto echo = [](const RpcContext& context) {
            context.result().concatItem(context.getArguments());
            context.finish();
        };
        server->addRPCWithRight("guarded", "special", echo, "", "");
        add("echo", echo);
        add("keep", [this](const RpcContext& context) { kept.push_back(context); });
    }

    void add(const char* name, std::function<void(const RpcContext&)> run) {
        server->addRPC(name, std::move(run), "", "");
    }
    Peer connect(uint32 user = platform::userId(), std::vector<uint32> groups = {}) {
        Peer peer;
        FileHandle other;
        EXPECT_FALSE(platform::makeSocketPair(peer.socket, other));
        server->adopt(std::move(other), {user, user, std::move(groups)});
        return peer;
    }
    std::string exchange(Peer& peer, std::string_view text) {
        peer.send(text);
        server->poll();
        return peer.receive();
    }

    std::optional<JsonRpcServer> server;
    Vector<RpcContext> kept;
};

TEST_F(JsonRpcTest, RequestsAndRepliesFollowTheProtocol) {
    makeServer({.lineBytes = 1000, .depth = 8, .batchCalls = 2});
    const Item code = Item().addPrefix("squirrel").addBuffer(nullptr, 0);
    add("code", [&](const RpcContext& context) {
        context.result().concatItem(code);
        context.finish();
    });
    add("throw", [](const RpcContext&) { throw std::runtime_error("reason"); });
    add("forget", [](const RpcContext&) {});
    // No files are transferred, so event handlers that wait for a transfer don't keep the call open.
    add("transfer", [](const RpcContext& context) {
        context.initiateFileTransfer(1, {{"there", "here"}});
        context.addEventHandler([](const RpcContext& event) {
            int status = 0;
            String text;
            if (event.getFileTransferStatus(status, text)) event.result().add(status);
            return true;
        });
    });
    const auto padded = [](std::size_t size) {
        const std::string text = withoutEnd(call("echo"));
        return text + std::string(size - text.size(), ' ') + "\n";
    };
    const auto nested = [](int depth) {
        return std::string(depth, '[') + "\"[[[[\\\"[\"" + std::string(depth, ']');
    };
    Item deep;
    for (int i = 0; i < 8; ++i) deep = Item().addItem(deep);
    const std::string guid = "\"GUID:::" + std::string(64, 'A') + "\"";
    const std::string item = packed(Item("x").addBuffer(nullptr, 0).addPointer(Item(5)));
    const std::string invalid = error(-32600, "Invalid Request");
    const std::string wrongParams = error(-32602, "Invalid params", "1");
    const std::string codeRefused = error(-32002, "Code refused", "1");
    const std::string failed = error(-32603, "Internal error", "1");
    const std::string tooLarge = error(-32000, "Message too large");
    const std::pair<std::string, std::string> kExchanges[] = {
        {call("echo", "[]", R"("a\n")"), result("null", R"("a\n")")},
        {call("echo", R"([1,"b"])", "1.5"), result(R"([1,"b"])", "1.5")},
        {call("echo", R"([{"b":[1,{}],"a":null}])", "null"), result(R"({"a":null,"b":[1,{}]})", "null")},
        {call("echo", R"({"/a":"/b"})"), wrongParams}, // no call has named parameters
        {call("echo", "{}"), wrongParams},
        {call("echo", "[" + guid + "]"), result(guid, "1")},
        {call("echo", item), result(item, "1")},
        {call("echo", R"({"$item":"nonsense"})"), wrongParams},
        {withoutEnd(call("echo")) + "\r\n \r\n", kDone},
        {note("echo"), ""},
        {call("nobody"), error(-32601, "Method not found", "1")},
        {call("echo", "3"), error(-32600, "Invalid Request", "1")},
        {"{\"method\":\"echo\"}\n", invalid},
        {"{\n", error(-32700, "Parse error")},
        {"\"\xff\"\n", error(-32700, "Parse error")},
        {"[]\n", invalid},
        {"[1]\n", batch({invalid})},
        {batch({note("echo")}), ""},
        {call("echo", packed(Item("x").addItem(Item().addItem(code)))), codeRefused},
        // A zero byte would end the string, and what follows would be read as elements.
        {call("echo", R"(["a\u0000\fsquirrel\u0000"])"), wrongParams},
        {call("echo", "[18446744073709551615]"), wrongParams},
        {call("echo", R"(["squirrel","\\u0000"])"), result(R"(["squirrel","\\u0000"])", "1")},
        {call("code"), failed},
        {call("throw"), failed},
        {call("forget"), kDone},
        {call("transfer"), result("1", "1")},
        {padded(1000), kDone},
        {padded(1001), tooLarge},
        {std::string(1001, 'x'), tooLarge}, // reported before the line ends
        {std::string(5000, 'x'), ""},       // and only once
        {"xx\n" + call("echo"), kDone},
        {call("echo", nested(7)), result(nested(6), "1")},
        {call("echo", nested(8)), error(-32001, "Message too deep")},
        {call("echo", packed(deep)), error(-32001, "Message too deep", "1")},
        {batch({note("echo"), note("echo")}), ""},
        {"[0,0,0]\n", error(-32004, "Too many calls or connections")},
    };
    LogCapture log;
    Peer peer = connect();
    for (const auto& [request, reply] : kExchanges) EXPECT_EQ(exchange(peer, request), reply) << request;
    log.expect(3, "rpc call 'throw' threw: reason");
    log.expect(3, "rpc call 'forget' ended without calling finish");
    EXPECT_FALSE(server->isBusy());
}

TEST_F(JsonRpcTest, AnIdIsReturnedByteForByte) {
    Peer peer = connect();
    for (const char* id : {"123456789012345678901234567890", "-9223372036854775809", "1e3", "1E+3", "-0",
                           "-0.0", "0.10", "1.0e-7", R"("a\u0062\/\"}]")", R"("")", "null"}) {
        EXPECT_EQ(exchange(peer, call("echo", "[]", id)), result("null", id)) << id;
        EXPECT_EQ(exchange(peer, batch({call("echo", "[]", id), call("none", "[]", id)})),
                  batch({result("null", id), error(-32601, "Method not found", id)}))
            << id;
    }
    EXPECT_EQ(exchange(peer,
                       R"({"params":[{"id":7}], "\u0069d" : 1.50 ,"method":"echo","jsonrpc":"2.0","id":2.50})"
                       "\n"),
              result(R"({"id":7})", "2.50"))
        << "the last of equal members counts";
}

TEST_F(JsonRpcTest, AnIdOfAnotherTypeIsRefused) {
    Peer peer = connect();
    for (const char* id : {"true", "false", "[1]", "{}"})
        EXPECT_EQ(exchange(peer, call("echo", "[]", id)), error(-32600, "Invalid Request")) << id;
}

TEST_F(JsonRpcTest, ABatchRunsOverSeveralPasses) {
    int runs = 0;
    add("slow", [&](const RpcContext& context) {
        ++runs;
        clock.advanceMs(5);
        context.finish();
    });
    Peer busy = connect();
    Peer other = connect();
    busy.send(batch({call("slow"), call("slow"), call("slow")}) + call("slow"));
    server->poll();
    EXPECT_EQ(runs, 1) << "the time of a pass is up";
    other.send(call("echo", "[1]"));
    server->poll();
    EXPECT_EQ(other.receive(), result("1", "1")) << "other peers do not wait for the rest of the batch";
    EXPECT_EQ(busy.receive(), "");
    for (int pass = 0; pass < 3; ++pass) server->poll();
    EXPECT_EQ(busy.receive(), batch({kDone, kDone, kDone}) + kDone);
}

TEST_F(JsonRpcTest, ADrainingServerFinishesTheBatchThatItBegan) {
    add("slow", [&](const RpcContext& context) {
        clock.advanceMs(5);
        context.finish();
    });
    Peer peer = connect();
    peer.send(batch({call("slow"), call("slow")}) + call("slow"));
    server->poll();
    server->drain();
    EXPECT_TRUE(server->isBusy());
    for (int pass = 0; pass < 3; ++pass) server->poll();
    EXPECT_EQ(peer.receive(), batch({kDone, kDone})) << "no further message is begun";
    EXPECT_FALSE(server->isBusy());
}

TEST_F(JsonRpcTest, TheResultsOfAMessageAreBounded) {
    makeServer({.replyBytes = 100});
    Peer peer = connect();
    const auto textOf = [](size_t size) { return "\"" + std::string(size, 'x') + "\""; };
    const std::string fits = textOf(98);
    const std::string tooLarge = error(-32005, "Reply too large", "1");
    EXPECT_EQ(exchange(peer, call("echo", "[" + fits + "]")), result(fits, "1"));
    EXPECT_EQ(exchange(peer, call("echo", "[" + textOf(99) + "]")), tooLarge);
    EXPECT_EQ(exchange(peer, call("echo", R"([")" + std::string(50, '\t') + R"("])")),
              error(-32700, "Parse error"));
    std::string escaped;
    for (int i = 0; i < 50; ++i) escaped += "\\u0001";
    EXPECT_EQ(exchange(peer, call("echo", "[\"" + escaped + "\"]")), tooLarge)
        << "the size of the JSON counts, not that of the Item";
    const std::string half = textOf(60);
    EXPECT_EQ(exchange(peer, batch({call("echo", "[" + half + "]"), call("echo", "[" + half + "]")})),
              batch({result(half, "1"), tooLarge}));
}

TEST_F(JsonRpcTest, ABatchIsAnsweredWhenItsLastCallEnds) {
    Peer peer = connect();
    EXPECT_EQ(exchange(peer, batch({call("keep"), call("keep", "[]", "2"), call("echo", "[3]", "3"),
                                    note("echo")})),
              "");
    kept[1].result().add("late");
    std::thread([&] { kept.pop_back(); }).join();
    EXPECT_EQ(exchange(peer, ""), "");
    EXPECT_TRUE(server->isBusy());
    kept[0].finish();
    EXPECT_EQ(exchange(peer, ""), batch({kDone, result("\"late\"", "2"), result("3", "3")}));
    EXPECT_FALSE(server->isBusy());
}

TEST_F(JsonRpcTest, AHalfClosedPeerIsAnsweredAndDisconnected) {
    Peer peer = connect();
    const std::string text = call("keep");
    peer.send(text + withoutEnd(text));
    ASSERT_FALSE(platform::endSending(peer.socket));
    server->poll();
    server->poll();
    ASSERT_EQ(kept.size(), 2u) << "a last line needs no line feed";
    EXPECT_EQ(server->getConnectionCount(), 1u);
    kept.clear();
    server->receiveCalls();
    EXPECT_EQ(peer.receive(), "") << "the host stores what was done before it sends the replies";
    server->sendReplies();
    EXPECT_EQ(peer.receive(), kDone + kDone + "<end>");
    EXPECT_EQ(server->getConnectionCount(), 0u);
}

TEST_F(JsonRpcTest, TheCallsOfALostPeerEndWithoutAReply) {
    Peer peer = connect();
    exchange(peer, call("keep"));
    peer.socket.close();
    for (int pass = 0; pass < 3; ++pass, kept.clear()) server->poll();
    EXPECT_EQ(server->getConnectionCount(), 0u);
}

TEST_F(JsonRpcTest, NoCallRunsOnceTheServerHasStopped) {
    Peer other = connect();
    add("stop", [this](const RpcContext& context) {
        server->stop();
        context.finish();
    });
    EXPECT_EQ(exchange(other, batch({note("keep"), note("stop"), note("keep")})), "<end>");
    EXPECT_EQ(kept.size(), 1u);
    server.reset();
    kept.front().result().addTrue(); // the call outlives its server
}

TEST_F(JsonRpcTest, APeerThatReadsNoRepliesIsDisconnected) {
    makeServer({.unsentBytes = 1000, .stallMs = 5000});
    Peer peer = connect();
    const std::string request = call("echo", "[\"" + std::string(20'000, 'x') + "\"]");
    std::size_t done = 0;
    while (!platform::sendSome(peer.socket, request.data(), request.size(), done) && done == request.size()) {
        server->poll();
    }
    const auto taken = server->getCallCount();
    server->poll();
    EXPECT_EQ(server->getCallCount(), taken) << "no message is taken while replies pile up";
    for (const auto& [wait, left] : {std::pair(5000, 1u), {1, 0u}}) {
        clock.advanceMs(wait);
        server->poll();
        EXPECT_EQ(server->getConnectionCount(), left);
    }
}

TEST_F(JsonRpcTest, APeerHasALimitedNumberOfOpenCalls) {
    makeServer({.openCalls = 3});
    Peer flooding = connect();
    Peer other = connect();
    for (int i = 0; i < 100; ++i) flooding.send(call("keep"));
    server->poll();
    EXPECT_EQ(kept.size(), 3u);
    EXPECT_EQ(exchange(other, call("echo", "[1]")), result("1", "1"));
    kept.clear();
    exchange(other, "");
    server->poll();
    EXPECT_EQ(kept.size(), 3u);
}

TEST_F(JsonRpcTest, ACallNeedsItsRight) {
    makeServer({}, "# a comment\nuser 71: special\ngroup 88: rpc:e*  rpc:keep\n");
    using Groups = std::vector<uint32>;
    for (const auto& [user, groups, guarded, echo] : {std::tuple(71u, Groups{}, true, false),
                                                      {70, {88}, false, true},
                                                      {71, {87, 88}, true, true},
                                                      {platform::userId(), {}, true, true}}) {
        Peer peer = connect(user, groups);
        EXPECT_EQ(exchange(peer, call("guarded")), guarded ? kDone : kNotPermitted) << user;
        EXPECT_EQ(exchange(peer, call("echo")), echo ? kDone : kNotPermitted) << user;
    }
}

TEST_F(JsonRpcTest, PeersWithoutTheRightDoNotLearnWhichMethodsExist) {
    makeServer({}, "user 71: special\n");
    Peer own = connect();
    Peer other = connect(71);
    EXPECT_EQ(exchange(own, call("missing")), error(-32601, "Method not found", "1"));
    EXPECT_EQ(exchange(other, call("missing")), kNotPermitted);
}

TEST_F(JsonRpcTest, AUserWithoutAnyRightIsDisconnected) {
    makeServer({}, "user 72 : # nothing\n");
    EXPECT_EQ(connect(72).receive(), error(-32003, "Not permitted") + "<end>");
}

TEST_F(JsonRpcTest, TheNumberOfPeersIsLimited) {
    makeServer({.connections = 3, .connectionsOfOtherUser = 1}, "everyone: *");
    const std::string turnedAway = error(-32004, "Too many calls or connections") + "<end>";
    Vector<Peer> peers;
    for (const uint32 user : {71u, 71u, 72u, platform::userId(), 73u}) peers.push_back(connect(user));
    const std::string seen[] = {"", turnedAway, "", "", turnedAway};
    for (std::size_t i = 0; i < peers.size(); ++i) EXPECT_EQ(peers[i].receive(), seen[i]) << i;
}

TEST_F(JsonRpcTest, TheServersUserDisplacesTheLongestIdleConnection) {
    makeServer({.connections = 3}, "everyone: *");
    const std::string turnedAway = error(-32004, "Too many calls or connections") + "<end>";
    Vector<Peer> peers;
    for (const uint32 user : {platform::userId(), 71u, platform::userId()}) {
        clock.advanceMs(10);
        peers.push_back(connect(user));
    }
    clock.advanceMs(10);
    exchange(peers[0], call("keep"));
    exchange(peers[1], call("echo"));
    EXPECT_EQ(connect(72).receive(), turnedAway) << "other users displace nobody";
    Peer owner = connect();
    EXPECT_EQ(peers[2].receive(), turnedAway) << "it has been idle for longest";
    EXPECT_EQ(exchange(owner, call("echo")), kDone);
    exchange(peers[1], call("keep"));
    exchange(owner, call("keep"));
    EXPECT_EQ(connect().receive(), turnedAway) << "nobody is idle";
}

TEST(JsonRpcRightsTest, ALineOfAnotherFormIsRefused) {
    LogCapture log;
    std::string problem;
    for (const char* text : {"\nuser a b", "\nuser: x", "\nnobody x: y", "\neveryone x: y",
                             "\neveryone: x folder:relative", "\neveryone: folder:"}) {
        EXPECT_FALSE(JsonRpcRights::parse(text, problem)) << text;
        EXPECT_TRUE(problem.starts_with("line 2: ")) << problem;
    }
    EXPECT_TRUE(JsonRpcRights::parse("user no-such-user: *", problem)->isEmpty());
    log.expect(2, "rights of unknown user 'no-such-user' are ignored");
}

TEST(JsonRpcRightsTest, FoldersAreGrantedByTheirLine) {
    std::string problem;
    const auto rights =
        JsonRpcRights::parse("user 71: x folder:/a b # c\ngroup 88: folder:/c\nuser 72: *\n", problem);
    ASSERT_TRUE(rights) << problem;
    const auto foldersOf = [&](uint32 user, std::vector<uint32> groups) {
        return rights->foldersOf({user, 1, std::move(groups)});
    };
    EXPECT_EQ(foldersOf(71, {}), Vector<String>{"/a b"});
    EXPECT_EQ(foldersOf(71, {88}), (Vector<String>{"/a b", "/c"}));
    EXPECT_EQ(foldersOf(72, {}), Vector<String>()) << "'*' covers no folders";
    EXPECT_FALSE(rights->hasAny({73, 88, {}})) << "a folder alone is not a right to call";
}

class RightsFileTest : public testing::Test {
protected:
    std::optional<JsonRpcRights> load(const std::string& text, std::uint32_t mode) {
        EXPECT_FALSE(platform::setMode(folder.write("rights", text).c_str(), mode));
        return JsonRpcRights::load(path);
    }

    test::ScratchFolder folder;
    const std::string path = folder.path("rights");
    LogCapture log;
};

TEST_F(RightsFileTest, AnEmptyFileGrantsNothing) {
    for (const char* text : {"", "# nothing\n"}) {
        const auto rights = load(text, 0600);
        ASSERT_TRUE(rights);
        EXPECT_TRUE(rights->isEmpty());
        log.expect(1, "rights file '" + path + "' grants nothing");
    }
}

TEST_F(RightsFileTest, AFileThatOthersMayWriteIsRefused) {
    for (const std::uint32_t mode : {0620, 0602}) {
        EXPECT_FALSE(load("group 5: *", mode));
        log.expect(3, "rights file '" + path + "': it may be written by users other than its owner");
    }
    EXPECT_TRUE(load("group 5: *", 0644));
}

TEST_F(RightsFileTest, AFileOfAnotherUserIsRefused) {
    if (platform::userId() != 0) GTEST_SKIP() << "only root can give a file away";
    ASSERT_TRUE(load("group 5: *", 0600));
    platform::FileHandle file;
    ASSERT_FALSE(platform::openFile(file, path.c_str(), platform::OpenMode::Read));
    ASSERT_FALSE(platform::setOwnership(file, 71, 71));
    EXPECT_FALSE(JsonRpcRights::load(path));
    log.expect(3, "rights file '" + path + "': it belongs to a user other than the server's");
}

TEST_F(RightsFileTest, AFileThatCannotBeReadIsRefused) {
    EXPECT_FALSE(JsonRpcRights::load(path));
    log.expect(3, "rights file '" + path + "': No such file or directory");
    EXPECT_FALSE(JsonRpcRights::load(folder.path()));
    log.expect(3, "rights file '" + folder.path() + "': it is not a file");
    EXPECT_FALSE(load(std::string((1 << 20) + 1, '#'), 0600));
    log.expect(3, "rights file '" + path + "': it is larger than 1 MiB");
}

TEST_F(JsonRpcTest, OnlyAnAbandonedSocketIsReplaced) {
    LogCapture log;
    const test::ScratchFolder folder;
    const std::string path = folder.path("socket");
    {
        FileHandle leftBehind; // closing it does not remove the socket
        ASSERT_FALSE(platform::listenLocally(leftBehind, path.c_str(), 0600));
    }
    JsonRpcServer first(path, {});
    ASSERT_TRUE(first.start());
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600))
        << "only the server's user has rights";
    for (const std::string& taken : {path, folder.write("file", "")}) {
        EXPECT_FALSE(JsonRpcServer(taken, {}).start());
        log.expect(3, "'" + taken + "' is in use");
    }
    EXPECT_TRUE(folder.has("file"));
}

TEST_F(JsonRpcTest, AServerThatCannotWaitPausesAndStillAnswers) {
    LogCapture log;
    Peer peer = connect();
    const test::FailingFiles failing(platform::Operation::Wait, std::errc::not_enough_memory);
    const int64 begin = clock.steadyNanoseconds();
    for (const int timeoutMs : {20, 1000, -1}) server->wait(timeoutMs);
    EXPECT_EQ(clock.steadyNanoseconds() - begin, (20 + 50 + 50) * 1'000'000);
    EXPECT_EQ(exchange(peer, call("echo")), kDone);
    log.expect(3, "can't wait for the sockets: Cannot allocate memory");
}

TEST_F(JsonRpcTest, AConnectionThatCannotBeAcceptedIsLoggedOnce) {
    using platform::Operation;
    const test::ScratchFolder folder;
    const std::string path = folder.path("socket");
    JsonRpcServer listening(path, {});
    ASSERT_TRUE(listening.start());
    for (const Operation operation : {Operation::Accept, Operation::ReadPeer}) {
        LogCapture log;
        Peer peer;
        ASSERT_FALSE(platform::connectLocally(peer.socket, path.c_str()));
        {
            const test::FailingFiles failing(operation, std::errc::too_many_files_open);
            listening.poll();
            listening.poll();
        }
        log.expect(3, "can't accept a connection: Too many open files");
        listening.poll();
        EXPECT_EQ(listening.getConnectionCount(), operation == Operation::Accept ? 1u : 0u)
            << "a peer waits, but one whose user is unknown is disconnected";
    }
}

} // namespace
