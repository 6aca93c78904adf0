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

using QelcallTest = test::SystemFixture;

TEST_F(QelcallTest, PrintsResultsAndTellsSuccessByItsStatus) {
    const test::ScratchFolder folder;
    qelserver::JsonRpcServer server(folder.path("socket"), {});
    ASSERT_TRUE(server.start());
    const auto echo = [](const RpcContext& context) {
        context.result().concatItem(context.getArguments());
        context.finish();
    };
    server.addRPC("echo", echo, "", "");
    const auto end = [&](const RpcContext& context) {
        server.stop();
        context.finish();
    };
    server.addRPC("end", end, "", "");
    const std::string big = "\"" + std::string(100'000, 'x') + "\"";
    const std::pair<std::vector<std::string>, HostRun> cases[] = {
        {{"echo"}, {0, "null\n", ""}},
        {{"echo", "a", "2"}, {0, "[\n  \"a\",\n  2\n]\n", ""}},
        {{"echo", R"({"k":null})"}, {0, "{\n  \"k\": null\n}\n", ""}},
        {{"echo", big}, {0, big + "\n", ""}},
        {{"end"}, {3, "", "qelcall: the server has closed the connection\n"}}};
    for (const auto& [arguments, expected] : cases) {
        std::vector<std::string> command{QELCALL_PROGRAM, "--socket", "socket"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        auto outcome = std::async(std::launch::async, [&] { return test::runProgram(folder, command); });
        while (outcome.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            server.wait(1);
            server.poll();
        }
        EXPECT_EQ(outcome.get(), expected);
    }
}

TEST(ProgressBarTest, FillsItsWidth) {
    using qelcall::formatProgress;
    EXPECT_EQ(formatProgress("running", 0.5, 26), "[#####.....] 50 % running");
    EXPECT_EQ(formatProgress("done", 7, 10), "[####] 100 % done");
    EXPECT_EQ(formatProgress("x", std::nan(""), 500), "[" + std::string(40, '.') + "] 0 % x");
}

} // namespace
