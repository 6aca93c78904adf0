// qelhost: a host for the command line. It starts the system, runs the scripts of a folder of plugins, and
// shuts down in order. It uses only the public part of the library.
#include "host_application.h"
#include "main_loop.h"
#include "options.h"
#include "script_functions.h"
#include "terminal.h"
#include "watchdog.h"

#include <hosts/shared/host_main.h>
#include <hosts/shared/shipped_path.h>
#include <hosts/shared/standard_output.h>
#include <hosts/shared/unhandled_errors.h>
#include <qel/files/directory.h>
#include <qel/foundation/log/log_backend.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>
#include <qel/system/report/report_generator.h>
#include <qel/system/tasks/perfmon.h>

#include <filesystem>
#include <string>

namespace {

using namespace qelhost;

void setUp(const Options& options) {
    qel::System& system = *qel::Object::system();
    if (!options.applicationDirectory.empty()) {
        system.setApplicationDirectory(options.applicationDirectory);
        system.setCacheDirectory(options.applicationDirectory);
        system.setSecureKeyDirectory(options.applicationDirectory);
        qel::System::registerCrashHandler(options.applicationDirectory.c_str());
    }
    if (!options.language.empty()) system.setLanguage(options.language);
    if (options.resources.empty()) {
        system.addResourcePackagesFromDirectory(qelhosts::pathFromProgram(qelhosts::kDataFolder));
    }
    for (const std::string& directory : options.resources) {
        system.addResourcePackagesFromDirectory(directory);
    }
}

std::string pluginsFolder(const Options& options) {
    if (!options.plugins.empty()) return options.plugins;
    return qelhosts::shippedPath("Plugins", std::filesystem::path(qelhosts::kDataFolder) / "plugins");
}

void startPlugins(const Options& options) {
    qel::Plugins& plugins = HostApplication::instance().plugins();
    plugins.setPath(pluginsFolder(options).c_str());
    const qel::String& path = plugins.getPath();
    qel::Object::system()->setEnv("plugins-directory", path);
    qel::Directory folder;
    if (!folder.open(path)) {
        qel::logging::error() << "cannot read the plugins folder '" << path
                              << "'; use --plugins to choose another";
        HostApplication::instance().noteFailedStart();
    }
    addScriptFunctions();
    plugins.executeBootstrapScripts(true);
    for (const qel::String& unreadable : plugins.getUnreadable()) {
        qel::logging::error() << "cannot read '" << unreadable << "' of the plugins";
        HostApplication::instance().noteFailedStart();
    }
}

void printReport() {
    qel::System& system = *qel::Object::system();
    qel::ReportGenerator report;
    system.report(&report);
    if (system.getPerfMon()->getReport().empty()) {
        report.add("the main loop ran for less than two seconds, so there are no times yet");
    }
    terminal::print(report.getReport());
}

int run(const Options& options, int argc, char** argv) {
    terminal::install();
    qel::System::initialize([] { return new HostApplication(); });
    qel::System::installInterruptHandler();
    const Watchdog watchdog;

    // The scripts see only their own arguments, after the program's name.
    int count = argc - options.firstArgument + 1;
    char** arguments = argv + options.firstArgument - 1;
    *arguments = argv[0];
    qel::Object::system()->processCommandLine(count, arguments);

    const int failure = qelhosts::reportingErrors("qelhost", [&options] {
        setUp(options);
        startPlugins(options);
        runMainLoop(options.stay);
        if (options.report) printReport();
        return 0;
    });
    const int status = failure != 0 ? failure : HostApplication::instance().exitStatus();
    qel::Object::system()->clearApplication();
    qel::System::deinitialize();
    terminal::remove();
    qel::LogBackend::unregisterBackend();
    return qelhosts::statusAfterOutput(status, "qelhost");
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    return qelhosts::hostMain(argc, argv, options, [&] { return run(options, argc, argv); });
}
