#include "../../hosts/qelcall/progress_bar.h"
#include "../../hosts/qelserver/json_rpc_server.h"
#include "../support/scratch_folder.h"
#include "../support/system_fixture.h"

#include <qel/platform/process_run.h>
#include <qel/rpc/rpc_context.h>

#include <atomic>
#include <cmath>
#include <thread>

namespace {

using namespace qel;

struct Outcome {
    int status;
    std::string out;
    std::string error;
};

class QelcallTest : public test::SystemFixture {
protected:
    /// Runs qelcall beside the passes of @p server.
    Outcome run(const std::vector<std::string>& arguments, qelserver::JsonRpcServer* server = nullptr) {
        std::vector<std::string> command{
            "/bin/sh",
            "-c",
            "out=$1 error=$2; shift 2; exec \"$@\" </dev/null >\"$out\" 2>\"$error\"",
            "sh",
            folder.path("out"),
            folder.path("error"),
            QELCALL_PROGRAM,
            "--socket",
            socket};
        command.insert(command.end(), arguments.begin(), arguments.end());
        platform::RunResult result;
        std::atomic<bool> hasEnded = false;
        std::thread runner([&] {
            result = platform::runProcess(command, {});
            hasEnded = true;
        });
        while (server && !hasEnded) {
            server->wait(1);
            server->poll();
        }
        runner.join();
        return {result.exitCode, folder.read("out"), folder.read("error")};
    }

    const test::ScratchFolder folder;
    const std::string socket = folder.path("socket");
};

TEST_F(QelcallTest, PrintsResultsAndTellsSuccessByItsStatus) {
    qelserver::JsonRpcServer server(socket, {});
    ASSERT_TRUE(server.start());
    server.addRPC(
        "echo",
        [](const RpcContext& context) {
            context.result().concatItem(context.getArguments());
            context.finish();
        },
        "", "");
    server.addRPC(
        "end",
        [&](const RpcContext& context) {
            server.stop();
            context.finish();
        },
        "", "");
    const std::string big = "\"" + std::string(100'000, 'x') + "\"";
    struct Case {
        std::vector<std::string> arguments;
        Outcome expected;
    };
    for (const Case& c :
         {Case{{"echo"}, {0, "null\n", ""}}, Case{{"echo", R"(["a"])"}, {0, "\"a\"\n", ""}},
          Case{{"echo", "a", "2"}, {0, "[\n  \"a\",\n  2\n]\n", ""}},
          Case{{"echo", R"({"k":null})"}, {0, "{\n  \"k\": null\n}\n", ""}},
          Case{{"echo", big}, {0, big + "\n", ""}}, Case{{"nobody"}, {1, "", "qelcall: Method not found\n"}},
          Case{{"--watch", "echo", "7"}, {1, "", "qelcall: Method not found\n"}},
          Case{{"end"}, {3, "", "qelcall: the server has closed the connection\n"}}}) {
        const Outcome seen = run(c.arguments, &server);
        EXPECT_EQ(seen.status, c.expected.status) << c.arguments.front();
        EXPECT_EQ(seen.out, c.expected.out);
        EXPECT_EQ(seen.error, c.expected.error);
    }
}

TEST_F(QelcallTest, FollowsAJobToItsEnd) {
    qelserver::JsonRpcServer server(socket, {});
    ASSERT_TRUE(server.start());
    server.addRPC(
        "submit",
        [](const RpcContext& context) {
            context.result().add("J");
            context.finish();
        },
        "", "");
    std::vector<std::string> states;
    server.addRPC(
        "jobs.state",
        [&](const RpcContext& context) {
            EXPECT_EQ(context.getArguments(), Item("J"));
            ASSERT_TRUE(context.result().setJSON(states.front()));
            states.erase(states.begin());
            context.finish();
        },
        "", "");
    states = {R"({"id":"J","state":"running","progress":0.5})",
              R"({"id":"J","state":"running","progress":0.7})",
              R"({"id":"J","state":"done","progress":1,"result":[1]})"};
    const Outcome good = run({"--watch", "submit"}, &server);
    EXPECT_EQ(good.status, 0);
    EXPECT_EQ(good.out, "[\n  1\n]\n");
    EXPECT_EQ(good.error, "running\ndone\n");
    states = {R"({"id":"J","state":"failed","error":"no such file"})"};
    const Outcome bad = run({"--watch", "submit"}, &server);
    EXPECT_EQ(bad.status, 1);
    EXPECT_EQ(bad.error, "failed\nqelcall: the job failed: no such file\n");
}

TEST_F(QelcallTest, SaysWhatIsWrongWithTheCommandLineAndThatNobodyListens) {
    EXPECT_EQ(run({"x"}).status, 3);
    EXPECT_EQ(run({"--help"}).status, 0);
    for (const std::vector<std::string>& wrong : {std::vector<std::string>{},
                                                  {"--nothing"},
                                                  {"--timeout", "0", "x"},
                                                  {"--timeout", "2147483647", "x"},
                                                  {"x", "{"}}) {
        const Outcome seen = run(wrong);
        EXPECT_EQ(seen.status, 2);
        EXPECT_TRUE(seen.error.starts_with("qelcall: ")) << seen.error;
    }
}

TEST(ProgressBarTest, FillsItsWidth) {
    using qelcall::formatProgress;
    EXPECT_EQ(formatProgress("running", 0.5, 26), "[#####.....] 50 % running");
    EXPECT_EQ(formatProgress("done", 7, 10), "[####] 100 % done");
    EXPECT_EQ(formatProgress("x", std::nan(""), 500), "[" + std::string(40, '.') + "] 0 % x");
}

} // namespace
