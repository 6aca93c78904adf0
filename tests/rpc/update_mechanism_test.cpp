#include <qel/rpc/update_mechanism.h>

#include "../support/log_capture.h"
#include "../support/scratch_folder.h"
#include "../support/system_fixture.h"

#include <qel/platform/process_run.h>
#include <qel/rpc/rpc_provider.h>

#include <optional>

namespace {

using namespace qel;
using test::LogCapture;

/// A call with a file transfer that goes as the test says.
class TransferCall : public Object, public RpcContextInternal {
public:
    using RpcContextInternal::run;

    void finish() override { finished += markFinished(); }
    String getFileTransferTargetPath(const char* target) const override {
        return String(target) == "update" ? "/target" : "";
    }
    void initiateFileTransfer(int direction, const Vector<Pair<String, String>>& transferred) override {
        EXPECT_EQ(direction, 1);
        files = transferred;
    }
    bool getFileTransferStatus(int& code, String& status) const override {
        if (!end) return false;
        code = *end;
        status = "told";
        return true;
    }
    void getRemotePaths(Vector<String>&) const override {}
    bool hasRight(const char*) const override { return true; }
    Object* getCaller() const override { return nullptr; }
    GUID getUserGUID() const override { return {}; }

    int finished = 0;
    std::optional<int> end;
    Vector<Pair<String, String>> files;
};

std::vector<std::vector<std::string>> g_commands;
bool g_starts = true;

platform::RunResult recordRun(const std::vector<std::string>& arguments,
                              const platform::RunOptions& options) {
    EXPECT_TRUE(options.detached);
    EXPECT_FALSE(options.wait);
    g_commands.push_back(arguments);
    return {g_starts, g_starts ? 0 : 2, 0};
}

class UpdateMechanismTest : public test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        provider.emplace();
        update = new UpdateMechanism;
        update->registerRpcCalls(&*provider);
        update->delegateBackup.connect([this] {
            ++backups;
            return backsUp;
        });
        system().setApplicationDirectory(folder.path());
        platform::replaceRunProcess(&recordRun);
        g_commands.clear();
        g_starts = true;
    }
    void TearDown() override {
        System::setHitSIGINT(false);
        platform::replaceRunProcess(nullptr);
        provider.reset();
        update.reset();
        SystemFixture::TearDown();
    }

    SmartPointer<TransferCall> run(const char* method, const Item& arguments = {}) {
        SmartPointer<TransferCall> call(new TransferCall);
        call->setMethodName(method);
        call->setArguments(arguments);
        call->run(*provider->findRPC(method), call.get());
        return call;
    }

    const test::ScratchFolder folder;
    LogCapture log;
    std::optional<RpcProvider> provider;
    SmartPointer<UpdateMechanism> update;
    bool backsUp = true;
    int backups = 0;
};

TEST_F(UpdateMechanismTest, TheCallsAreRegisteredWithTheirRights) {
    EXPECT_EQ(provider->getMethodNames(),
              (Vector<String>{"backup_data", "install_update_package", "upload_update_package"}));
    EXPECT_EQ(*provider->findRight("upload_update_package"), "rpc:upload_update_package");
    EXPECT_EQ(*provider->findRight("install_update_package"), "rpc:install_update_package");
    EXPECT_EQ(provider->findRight("backup_data"), nullptr);
    EXPECT_EQ(provider->getCategory(), nullptr);
}

TEST_F(UpdateMechanismTest, AnUploadEndsWithItsTransfer) {
    for (const int code : {0, 7}) {
        const auto call = run("upload_update_package", Item("C:/x.exe").add("update"));
        EXPECT_EQ(call->files, (Vector<Pair<String, String>>{{"C:/x.exe", "/target"}}));
        call->callEventHandlers(call.get());
        EXPECT_EQ(call->finished, 0);
        call->end = code;
        call->callEventHandlers(call.get());
        EXPECT_EQ(call->finished, 1);
        EXPECT_EQ(call->result(), code == 0 ? Item().addTrue() : Item());
        EXPECT_FALSE(call->hasEventHandlers());
        log.expect(1, "[RPC:upload_update_package] upload of update package finished, code=" +
                          std::to_string(code) + ", status=told");
    }
}

TEST_F(UpdateMechanismTest, AnUploadThatCantBeginIsLogged) {
    const std::string forgotten = "rpc call 'upload_update_package' ended without calling finish";
    const std::pair<Item, const char*> kCases[] = {
        {Item("x"), nullptr},
        {Item("").add("update"),
         "[RPC:upload_update_package] one ore more arguments are empty and thus not valid"},
        {Item("x").add("other"), "[RPC:upload_update_package] no path registered for update package"},
    };
    for (const auto& [arguments, message] : kCases) {
        const auto call = run("upload_update_package", arguments);
        EXPECT_TRUE(call->files.empty());
        EXPECT_TRUE(call->result().empty());
        EXPECT_EQ(call->finished, 1);
        if (message) log.expect(3, message);
        log.expect(3, forgotten);
    }
}

TEST_F(UpdateMechanismTest, AnInstallerIsStartedDetachedAfterTwoBackups) {
    const std::string path = folder.write("NovixServer/NovixServerInstaller.exe", "");
    EXPECT_EQ(run("install_update_package")->result(), Item().addTrue());
    EXPECT_EQ(backups, 2);
    EXPECT_EQ(g_commands, (std::vector<std::vector<std::string>>{{path, "/S"}}));
    EXPECT_TRUE(System::wasInterruptHandlerCalled());
    log.expect(1, "running server update");
}

TEST_F(UpdateMechanismTest, NothingIsInstalledWithoutBackupInstallerOrStart) {
    const std::string tag = "[RPC:install_update_package] ";
    const auto expectFailure = [&](const std::vector<std::string>& messages) {
        const auto call = run("install_update_package");
        EXPECT_TRUE(call->result().empty());
        EXPECT_EQ(call->finished, 1);
        EXPECT_FALSE(System::wasInterruptHandlerCalled());
        for (const std::string& message : messages) log.expect(3, message);
    };
    const std::string failed = tag + "failed to install update package";
    expectFailure({"installer does not exist", "failed to run install command", failed});
    const std::string path = folder.write("NovixServer/NovixServerInstaller.exe", "");
    g_starts = false;
    expectFailure(
        {"failed to run install command, command=" + path + " /S", "failed to run install command", failed});
    log.expect(1, "running server update");
    backsUp = false;
    expectFailure({tag + "failed to backup data before running update"});
    EXPECT_FALSE(update->installUpdatePackage());
    log.expect(3, "failed to backup data before running install command");
    EXPECT_EQ(g_commands.size(), 1u);
}

TEST_F(UpdateMechanismTest, ABackupAnswersWhetherItWorked) {
    EXPECT_EQ(run("backup_data")->result(), Item().addTrue());
    backsUp = false;
    EXPECT_TRUE(run("backup_data")->result().empty());
    log.expect(3, "[RPC:backup_data] backup_data_failed");
    EXPECT_EQ(backups, 2);
}

TEST_F(UpdateMechanismTest, ACallBehindTheDeathOfTheMechanismHasNoResult) {
    update.reset();
    EXPECT_TRUE(run("backup_data")->result().empty());
    log.expect(3, "rpc call 'backup_data' ended without calling finish");
}

} // namespace
