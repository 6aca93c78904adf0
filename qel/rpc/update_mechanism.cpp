#include <qel/rpc/update_mechanism.h>

#include <qel/files/file.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/command_line.h>
#include <qel/process/process.h>
#include <qel/rpc/rpc_provider.h>
#include <qel/system/core/system.h>

namespace qel {

namespace {

constexpr const char* kInstallerName = "NovixServerInstaller.exe";
constexpr const char* kApplicationName = "NovixServer";
constexpr const char* kInstallerPathTail = "/NovixServerInstaller.exe";
constexpr const char* kSilently = " /S";
constexpr int kUpload = 1;

/// Returns "[RPC:" name "] ", which precedes every log line about a call.
String tag(const RpcContext& context) {
    return "[RPC:" + context.getMethodName() + "] ";
}

/// Finishes the call if the upload has ended. @return false while it is running.
bool endUpload(const RpcContext& context) {
    int code = 0;
    String status;
    if (!context.getFileTransferStatus(code, status)) return false;
    if (code == 0) context.result().addTrue();
    context.finish();
    logging::info() << tag(context) << "upload of update package finished, code=" << code
                    << ", status=" << status;
    return true;
}

void upload(const RpcContext& context) {
    String clientPath;
    String target;
    if (!context.args().asString(clientPath) || !context.args().asString(target)) return;
    if (clientPath.empty() || target.empty()) {
        logging::error() << tag(context) << "one ore more arguments are empty and thus not valid";
        return;
    }
    const String path = context.getFileTransferTargetPath(target.c_str());
    if (path.empty()) {
        logging::error() << tag(context) << "no path registered for update package";
        return;
    }
    context.initiateFileTransfer(kUpload, {{clientPath, path}});
    context.addEventHandler([](const RpcContext& event) { return !endUpload(event); });
}

} // namespace

UpdateMechanism::UpdateMechanism() {
    delegateBackup.connect([] { return true; });
}

void UpdateMechanism::registerRpcCalls(RpcProvider* provider) {
    // The registered calls may outlive this object.
    const auto call = [self = WeakPointer<UpdateMechanism>(this)](auto member) {
        return [self, member](const RpcContext& context) {
            if (self) (self.get()->*member)(context);
        };
    };
    provider->setCategory("Update");
    provider->addRPCWithRight("upload_update_package", "rpc:upload_update_package", &upload,
                              "Upload Novix installer to server.",
                              "(String clientFilePath, String serviceTarget) : Bool success");
    provider->addRPCWithRight("install_update_package", "rpc:install_update_package",
                              call(&UpdateMechanism::install), "Execute uploaded Novix installer.",
                              "() : Bool success");
    provider->addRPC("backup_data", call(&UpdateMechanism::backUp), nullptr, nullptr);
    provider->setCategory(nullptr);
}

void UpdateMechanism::install(const RpcContext& context) {
    if (!delegateBackup()) {
        logging::error() << tag(context) << "failed to backup data before running update";
    } else if (installUpdatePackage()) {
        context.result().addTrue();
    } else {
        logging::error() << tag(context) << "failed to install update package";
    }
    context.finish();
}

void UpdateMechanism::backUp(const RpcContext& context) {
    if (delegateBackup())
        context.result().addTrue();
    else
        logging::error() << tag(context) << "backup_data_failed";
    context.finish();
}

bool UpdateMechanism::installUpdatePackage() {
    if (Process::exists(kInstallerName)) {
        logging::error() << "an installer is already installing";
        return false;
    }
    if (!delegateBackup()) {
        logging::error() << "failed to backup data before running install command";
        return false;
    }
    if (!runInstaller()) {
        logging::error() << "failed to run install command";
        return false;
    }
    System::setHitSIGINT(true);
    return true;
}

bool UpdateMechanism::runInstaller() {
    const String path = system()->getApplicationDirectory(kApplicationName) + kInstallerPathTail;
    if (!File::existsFile(path)) {
        logging::error() << "installer does not exist";
        return false;
    }
    logging::info() << "running server update";
    const String command = platform::quoteArgument(path) + kSilently;
    if (System::runCommand(command, System::kCommandNoWait | System::kCommandDetached) == 0) return true;
    logging::error() << "failed to run install command, command=" << command;
    return false;
}

} // namespace qel
