#include "../../hosts/qelcall/progress_bar.h"
#include "../../hosts/qelserver/json_rpc_server.h"
#include "../support/scratch_folder.h"
#include "../support/system_fixture.h"

#include <qel/rpc/rpc_context.h>
#include <tests/hosts/host_run.h>

#include <cmath>
#include <future>

namespace {

using namespace qel;
using test::HostRun;

class QelcallTest : public test::SystemFixture {
protected:
    /// Runs qelcall beside the passes of the server.
    HostRun run(const std::vector<std::string>& arguments) {
        std::vector<std::string> command{QELCALL_PROGRAM, "--socket", socket};
        command.insert(command.end(), arguments.begin(), arguments.end());
        auto outcome = std::async(std::launch::async, [&] { return test::runProgram(folder, command); });
        while (outcome.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            server.wait(1);
            server.poll();
        }
        return outcome.get();
    }
    /// A call that @p run answers at once.
    void add(const char* name, std::function<void(const RpcContext&)> run) {
        server.addRPC(
            name,
            [run = std::move(run)](const RpcContext& context) {
                run(context);
                context.finish();
            },
            "", "");
    }

    const test::ScratchFolder folder;
    const std::string socket = folder.path("socket");
    qelserver::JsonRpcServer server{socket, {}};
};

TEST_F(QelcallTest, PrintsResultsAndTellsSuccessByItsStatus) {
    ASSERT_TRUE(server.start());
    add("echo", [](const RpcContext& context) { context.result().concatItem(context.getArguments()); });
    add("end", [&](const RpcContext&) { server.stop(); });
    const std::string big = "\"" + std::string(100'000, 'x') + "\"";
    const std::pair<std::vector<std::string>, HostRun> cases[] = {
        {{"echo"}, {0, "null\n", ""}},
        {{"echo", "a", "2"}, {0, "[\n  \"a\",\n  2\n]\n", ""}},
        {{"echo", R"({"k":null})"}, {0, "{\n  \"k\": null\n}\n", ""}},
        {{"echo", big}, {0, big + "\n", ""}},
        {{"--watch", "echo", "7"}, {1, "", "qelcall: Method not found\n"}},
        {{"end"}, {3, "", "qelcall: the server has closed the connection\n"}}};
    for (const auto& [arguments, expected] : cases) EXPECT_EQ(run(arguments), expected);
}

TEST_F(QelcallTest, FollowsAJobToItsFailure) {
    ASSERT_TRUE(server.start());
    add("submit", [](const RpcContext& context) { context.result().add("J"); });
    add("jobs.state", [&](const RpcContext& context) {
        EXPECT_EQ(context.getArguments(), Item("J"));
        EXPECT_TRUE(context.result().setJSON(R"({"id":"J","state":"failed","error":"no such file"})"));
    });
    EXPECT_EQ(run({"--watch", "submit"}),
              (HostRun{1, "", "failed\nqelcall: the job failed: no such file\n"}));
}

TEST_F(QelcallTest, TellsAWrongCommandLineAndThatNobodyListensByItsStatus) {
    EXPECT_EQ(run({"x"}).status, 3);
    for (const char* timeout : {"0", "2147483647"}) EXPECT_EQ(run({"--timeout", timeout, "x"}).status, 2);
    EXPECT_EQ(run({"x", "{"}).status, 2);
}

TEST(ProgressBarTest, FillsItsWidth) {
    using qelcall::formatProgress;
    EXPECT_EQ(formatProgress("running", 0.5, 26), "[#####.....] 50 % running");
    EXPECT_EQ(formatProgress("done", 7, 10), "[####] 100 % done");
    EXPECT_EQ(formatProgress("x", std::nan(""), 500), "[" + std::string(40, '.') + "] 0 % x");
}

} // namespace
