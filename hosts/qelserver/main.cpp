// qelserver: a server without a display. It stores its records in a file, runs jobs in worker processes and
// answers remote calls on a local socket.
#include "options.h"
#include "server.h"

#include <hosts/shared/host_main.h>
#include <hosts/shared/pacer.h>
#include <hosts/shared/shipped_path.h>
#include <hosts/shared/socket_path.h>
#include <hosts/shared/standard_output.h>
#include <hosts/shared/unhandled_errors.h>
#include <qel/foundation/log/log_backend.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/application.h>
#include <qel/system/core/system.h>

#include <filesystem>

namespace {

using namespace qelserver;

/// Replaces options that the command line does not set by their defaults.
Options completed(Options options) {
    const std::string folder = qel::Object::system()->getApplicationDirectory("qelserver");
    if (options.socket.empty()) options.socket = qelhosts::defaultSocketPath();
    if (options.data.empty()) options.data = folder + "/qelserver.store";
    if (options.memory) options.data.clear();
    if (options.worker.empty()) {
        const std::filesystem::path installed = qelhosts::kProgramsFolder;
        options.worker = qelhosts::shippedPath("qelworker", installed / "qelworker");
    }
    return options;
}

int serve(const Options& options) {
    Server server(options);
    if (!server.good()) return 1;
    qelhosts::Pacer pacer;
    qel::System& system = *qel::Object::system();
    while (!qel::System::wasInterruptHandlerCalled()) {
        pacer.pass(
            system, [&server] { return server.poll(); }, [&server](unsigned ms) { server.wait(ms); });
    }
    qel::logging::info() << "stopping";
    return server.stop() ? 0 : 1;
}

int run(const Options& options) {
    qel::LogBackend::registerBackend(true);
    qel::System::initialize([] { return new qel::Application(); });
    qel::System::installInterruptHandler();
    const int status =
        qelhosts::reportingErrors("qelserver", [&options] { return serve(completed(options)); });
    qel::Object::system()->clearApplication();
    qel::System::deinitialize();
    qel::LogBackend::unregisterBackend();
    return qelhosts::statusAfterOutput(status, "qelserver");
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    return qelhosts::hostMain(argc, argv, options, [&] { return run(options); });
}
