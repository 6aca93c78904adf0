// qelhost: a host for the command line. It starts the system, runs the scripts of a folder of plugins, and
// stops in order. Everything it uses of the library is public.
#include "host_application.h"
#include "main_loop.h"
#include "options.h"
#include "script_functions.h"
#include "terminal.h"
#include "watchdog.h"

#include <hosts/shared/command_line_answer.h>
#include <qel/foundation/log/log_backend.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>
#include <qel/system/report/report_generator.h>
#include <qel/system/tasks/perfmon.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <string_view>

namespace {

using namespace qelhost;

std::atomic<bool> g_scriptFailed{false};

/// Listens to the log for what the script machine says of a script that did not compile or ended by an error.
/// Scripts can't write such a line themselves: theirs begin with "[SQ] ".
void noteScriptFailure(int, const char* text) {
    using namespace std::literals;
    for (const std::string_view start : {"[ERROR] [SQ.COMPILER] "sv, "[ERROR] [SQ.INTERPRETER] "sv,
                                         "[ERROR] [SUPPORT] squirrel thread failed"sv}) {
        if (std::string_view(text).starts_with(start)) g_scriptFailed = true;
    }
}

void setUp(const Options& options) {
    qel::System& system = *qel::Object::system();
    if (!options.applicationDirectory.empty()) {
        system.setApplicationDirectory(options.applicationDirectory);
        system.setCacheDirectory(options.applicationDirectory);
        system.setSecureKeyDirectory(options.applicationDirectory);
        qel::System::registerCrashHandler(options.applicationDirectory.c_str());
    }
    if (!options.language.empty()) system.setLanguage(options.language);
    for (const std::string& directory : options.resources) {
        system.addResourcePackagesFromDirectory(directory);
    }
}

void startPlugins(const Options& options) {
    qel::Plugins& plugins = HostApplication::instance().plugins();
    if (!options.plugins.empty()) plugins.setPath(options.plugins.c_str());
    const qel::String& path = plugins.getPath();
    qel::Object::system()->setEnv("plugins-directory", path);
    if (!std::filesystem::is_directory(path.c_str())) {
        qel::logging::warning() << "no plugins folder '" << path << "'; --plugins names another";
    }
    addScriptFunctions();
    plugins.executeBootstrapScripts(true);
}

void printReport() {
    qel::System& system = *qel::Object::system();
    qel::ReportGenerator report;
    system.report(&report);
    if (system.getPerfMon()->getReport().empty()) {
        report.add("the main loop ran for less than two seconds: no times yet");
    }
    terminal::print(report.getReport());
}

int run(const Options& options, int argc, char** argv) {
    terminal::install();
    qel::LogBackend::getSignalNewLogMessage().connect(&noteScriptFailure);
    qel::System::initialize([] { return new HostApplication(); });
    qel::System::installInterruptHandler();
    const Watchdog watchdog;

    // The scripts see their own arguments only, behind the program's name.
    int count = argc - options.firstScriptArgument + 1;
    char** arguments = argv + options.firstScriptArgument - 1;
    *arguments = argv[0];
    qel::Object::system()->processCommandLine(count, arguments);

    setUp(options);
    startPlugins(options);
    runMainLoop(options.stay);
    if (options.report) printReport();

    const int status = HostApplication::instance().exitStatus(g_scriptFailed);
    qel::Object::system()->clearApplication();
    qel::System::deinitialize();
    terminal::remove();
    qel::LogBackend::unregisterBackend();
    return status;
}

} // namespace

int main(int argc, char** argv) {
    const Options options = parseOptions(argc, argv);
    const auto answer = qelhosts::answerCommandLine(options, "qelhost", usage(),
                                                    " Options of the scripts stand behind '--'.");
    return answer ? *answer : run(options, argc, argv);
}
