#include <qel/rpc/update_mechanism.h>
#include <qel/testing/machine.h>

#include <qel/platform/process_run.h>
#include <qel/rpc/rpc_provider.h>
#include <tests/files/file_fixture.h>

#include <optional>

namespace {

using namespace qel;

/// A call with a file transfer that the test controls.
class TransferCall : public Object, public RpcContextInternal {
public:
    using RpcContextInternal::run;

    void finish() override { finished += markFinished(); }
    String getFileTransferTargetPath(const char* target) const override {
        return String(target) == "update" ? "/target" : "";
    }
    void initiateFileTransfer(int direction, const Vector<Pair<String, String>>& list) override {
        for (const auto& [from, to] : list) files += std::to_string(direction) + from + ">" + to;
    }
    bool getFileTransferStatus(int& code, String& status) const override {
        status = "told";
        code = end.value_or(-1);
        return end.has_value();
    }
    void getRemotePaths(Vector<String>&) const override {}
    bool hasRight(const char*) const override { return true; }
    Object* getCaller() const override { return nullptr; }
    GUID getUserGUID() const override { return {}; }

    int finished = 0;
    std::optional<int> end;
    std::string files;
};

std::vector<std::string> g_command;
bool g_starts = true;

class UpdateMechanismTest : public test::SystemFileFixture {
protected:
    void SetUp() override {
        SystemFileFixture::SetUp();
        update = new UpdateMechanism;
        update->registerRpcCalls(&*provider);
        update->delegateBackup.connect([this] { return ++backups, backsUp; });
        system().setApplicationDirectory(folder.path());
        g_starts = true;
        seams::replaceRunProcess(
            [](const std::vector<std::string>& command, const platform::RunOptions& how) {
                g_command = command;
                return platform::RunResult{g_starts && how.detached && !how.wait, 0, 0};
            });
    }
    void TearDown() override {
        System::setHitSIGINT(false);
        seams::replaceRunProcess(nullptr);
        provider.reset();
        update.reset();
        SystemFileFixture::TearDown();
    }
    SmartPointer<TransferCall> run(const char* method, const Item& arguments = {}) {
        SmartPointer<TransferCall> call(new TransferCall);
        call->setMethodName(method);
        call->setArguments(arguments);
        call->run(*provider->findRPC(method), call.get());
        return call;
    }
    /// Runs a call and expects that it has no result and logs these errors.
    void expectFailure(const char* method, const Item& arguments, const std::vector<std::string>& messages) {
        const auto call = run(method, arguments);
        EXPECT_EQ(call->result(), Item());
        EXPECT_EQ(call->finished, 1);
        EXPECT_EQ(call->files, "");
        for (const std::string& message : messages) log.expect(3, message);
        EXPECT_FALSE(System::wasInterruptHandlerCalled());
    }

    std::optional<RpcProvider> provider{std::in_place};
    SmartPointer<UpdateMechanism> update;
    bool backsUp = true;
    int backups = 0;
    const Item yes = Item().addTrue();
};

TEST_F(UpdateMechanismTest, AnUploadEndsWithItsTransfer) {
    for (const int code : {0, 7}) {
        const auto call = run("upload_update_package", Item("C:/x.exe").add("update"));
        EXPECT_EQ(call->files, "1C:/x.exe>/target");
        call->callEventHandlers(call.get());
        EXPECT_EQ(call->finished, 0);
        call->end = code;
        call->callEventHandlers(call.get());
        EXPECT_EQ(call->finished, 1);
        EXPECT_FALSE(call->hasEventHandlers());
        EXPECT_EQ(call->result(), code == 0 ? yes : Item());
        log.expect(1, "[RPC:upload_update_package] upload of update package finished, code=" +
                          std::to_string(code) + ", status=told");
    }
}

TEST_F(UpdateMechanismTest, AnInstallerIsStartedDetachedAfterTwoBackups) {
    const std::string path = folder.write("NovixServer/NovixServerInstaller.exe", "");
    EXPECT_EQ(run("install_update_package")->result(), yes);
    EXPECT_EQ(backups, 2);
    EXPECT_EQ(g_command, (std::vector<std::string>{path, "/S"}));
    EXPECT_TRUE(System::wasInterruptHandlerCalled());
    log.expect(1, "running server update");
}

TEST_F(UpdateMechanismTest, AFailedStepPreventsTheInstallation) {
    const std::string tag = "[RPC:install_update_package] ";
    const char* const method = "install_update_package";
    const std::string failed = "failed to run install command";
    const std::string notInstalled = tag + "failed to install update package";
    expectFailure(method, {}, {"installer does not exist", failed, notInstalled});
    const std::string path = folder.write("NovixServer/NovixServerInstaller.exe", "");
    g_starts = false;
    expectFailure(method, {}, {failed + ", command=" + path + " /S", failed, notInstalled});
    log.expect(1, "running server update");
    backsUp = false;
    expectFailure(method, {}, {tag + "failed to backup data before running update"});
    EXPECT_FALSE(update->installUpdatePackage());
    log.expect(3, "failed to backup data before running install command");
}

} // namespace
