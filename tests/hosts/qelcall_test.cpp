// qelcall against a server in this process.
#include "../../hosts/qelserver/json_rpc_server.h"
#include "../../hosts/shared/progress_bar.h"
#include "../support/scratch_folder.h"
#include "../support/system_fixture.h"

#include <qel/rpc/rpc_context.h>
#include <tests/hosts/host_run.h>

#include <cmath>
#include <future>
#include <optional>
#include <utility>

namespace {

using namespace qel;
using test::HostRun;

class QelcallTest : public test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        server.emplace(folder.path("socket"), qelserver::JsonRpcRights());
        ASSERT_TRUE(server->start());
        add("echo", [](const RpcContext& context) {
            context.result().concatItem(context.getArguments());
            context.finish();
        });
        add("end", [this](const RpcContext& context) {
            server->stop();
            context.finish();
        });
    }
    void TearDown() override {
        server.reset();
        SystemFixture::TearDown();
    }
    void add(const char* name, RpcFunction handler) { server->addRPC(name, std::move(handler), "", ""); }
    /// Runs qelcall with @p arguments while the server answers.
    HostRun run(const std::vector<std::string>& arguments) {
        std::vector<std::string> command{QELCALL_PROGRAM, "--socket", "socket"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        auto outcome = std::async(std::launch::async, [&] { return test::runProgram(folder, command); });
        while (outcome.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            server->wait(1);
            server->poll();
        }
        return outcome.get();
    }

    const test::ScratchFolder folder;
    std::optional<qelserver::JsonRpcServer> server;
};

TEST_F(QelcallTest, PrintsTheResult) {
    const std::string big = "\"" + std::string(100'000, 'x') + "\"";
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"echo"}, "null\n"},
        {{"echo", "a", "2"}, "[\n  \"a\",\n  2\n]\n"},
        {{"echo", R"({"k":null})"}, "{\n  \"k\": null\n}\n"},
        {{"echo", big}, big + "\n"},
    };
    for (const auto& [arguments, printed] : cases) {
        const HostRun result = run(arguments);
        EXPECT_EQ(result.out, printed);
        EXPECT_EQ(result.error, "");
        EXPECT_EQ(result.status, 0);
    }
}

TEST_F(QelcallTest, ReportsALostConnection) {
    const HostRun result = run({"end"});
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.error, "qelcall: the server has closed the connection\n");
    EXPECT_EQ(result.status, 3);
}

TEST_F(QelcallTest, ReportsARefusal) {
    const HostRun result = run({"missing"});
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.error, "qelcall: Method not found\n");
    EXPECT_EQ(result.status, 1);
}

TEST(ProgressBarTest, FillsItsWidth) {
    using qelhosts::formatProgress;
    EXPECT_EQ(formatProgress("running", 0.5, 26), "[#####.....] 50 % running");
    EXPECT_EQ(formatProgress("done", 7, 10), "[####] 100 % done");
    EXPECT_EQ(formatProgress("x", std::nan(""), 500), "[" + std::string(40, '.') + "] 0 % x");
}

} // namespace
