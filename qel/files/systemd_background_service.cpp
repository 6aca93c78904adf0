#include <qel/files/systemd_background_service.h>

#include <qel/files/child_lines_p.h>
#include <qel/files/directory.h>
#include <qel/files/file_replace.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/service_manager.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <string_view>

#include <fmt/format.h>

namespace qel {

/// The result of a systemctl call.
struct SystemdBackgroundService::Answer {
    bool worked = false;
    String output; ///< its first line
    String errors; ///< the last line that it wrote to standard error

    void takeFrom(Process& process, bool isRunning) {
        const auto takeOutput = [this](const String& line) {
            if (output.empty()) output = line;
        };
        const auto takeError = [this](const String& line) {
            if (!line.empty()) errors = line;
        };
        internal::takeLines(process, isRunning, takeOutput, takeError);
    }
};

namespace {

constexpr size_t kMaxUnitName = 255;

bool isUnitName(const String& name) {
    constexpr std::string_view kLetters =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_:-.\\";
    return !name.empty() && name.size() <= kMaxUnitName &&
           std::string_view("-.\\").find(name.front()) == std::string_view::npos &&
           name.find_first_not_of(kLetters) == String::npos;
}

// Quotes as systemd.syntax(7) requires; "%" would begin a specifier.
String quoted(const String& text, bool expandsVariables) {
    String result = "\"";
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < ' ')
            result += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
        else if (c == '"' || c == '\\')
            (result += '\\') += c;
        else if (c == '%' || (c == '$' && expandsVariables))
            result.append(2, c);
        else
            result += c;
    }
    return result + "\"";
}

// A line end would end the setting.
String asSetting(String text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    return text.replace_all_copy("%", "%%").replace_all_copy("\\", "\\\\");
}

} // namespace

SystemdBackgroundService::SystemdBackgroundService(Scope scope) : m_scope(scope) {}

SystemdBackgroundService::~SystemdBackgroundService() = default;

void SystemdBackgroundService::setServiceProgram(SmartCStr path, const Vector<String>& arguments) {
    m_serviceProgram = path.c_str();
    m_serviceArguments = arguments;
}

String SystemdBackgroundService::unitName() const {
    const String name = m_serviceName + ".service";
    return isUnitName(name) && !m_serviceName.empty() ? name : String();
}

String SystemdBackgroundService::getUnitPath() const {
    const String name = unitName();
    if (name.empty()) return name;
    String path =
        m_unitFolder.empty() ? String(platform::serviceUnitFolder(m_scope == Scope::User)) : m_unitFolder;
    File::pathEndWithSeparator(path);
    return path + name;
}

String SystemdBackgroundService::getUnitText() const {
    String command =
        quoted(m_serviceProgram.empty() ? system()->getExecutablePath() : m_serviceProgram, false);
    for (const String& argument : m_serviceArguments) command += " " + quoted(argument, true);
    const String watchdog = m_watchdogSeconds ? fmt::format("WatchdogSec={}\n", m_watchdogSeconds) : "";
    return fmt::format(
        "[Unit]\nDescription={}\n\n[Service]\nType=notify\nExecStart={}\nRestart=on-failure\n{}\n"
        "[Install]\nWantedBy={}.target\n",
        asSetting(m_displayName.empty() ? m_serviceName : m_displayName), command, watchdog,
        m_scope == Scope::User ? "default" : "multi-user");
}

SystemdBackgroundService::Answer SystemdBackgroundService::systemctl(const List<String>& arguments) const {
    List<String> command = {"systemctl", m_scope == Scope::User ? "--user" : "--system", "--no-pager",
                            "--no-ask-password"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    Answer answer;
    const SmartPointer<Process> process = new Process;
    if (!process->spawn(command.front(), command, nullptr, true)) {
        answer.errors = process->errorText();
        return answer;
    }
    for (bool running = true; running;) {
        running = process->tick();
        answer.takeFrom(*process, running); // once more after its end
        if (running) System::sleep(1);
    }
    answer.worked = process->exitStatus() == 0;
    process->terminate(false); // closes the streams, which releases a last line without a line end
    answer.takeFrom(*process, false);
    return answer;
}

bool SystemdBackgroundService::reportFailure(const char* operation, const String& text) {
    logErrorMessage(String("SystemdBackgroundService::") + operation + ": " + text);
    return false;
}

bool SystemdBackgroundService::change(const char* operation) {
    const String unit = unitName();
    if (unit.empty()) return reportFailure(operation, "invalid service name");
    const Answer answer = systemctl({operation, "--", unit});
    return answer.worked || reportFailure(operation, answer.errors);
}

bool SystemdBackgroundService::hasProperty(const char* operation, const char* name,
                                           std::initializer_list<const char*> values) {
    const String unit = unitName();
    if (unit.empty()) return reportFailure(operation, "invalid service name");
    const Answer answer = systemctl({"show", String("--property=") + name, "--", unit});
    if (!answer.worked) return reportFailure(operation, answer.errors);
    return std::any_of(values.begin(), values.end(),
                       [&](const char* value) { return answer.output == String(name) + "=" + value; });
}

bool SystemdBackgroundService::install() {
    const String path = getUnitPath();
    if (path.empty()) return reportFailure("install", "invalid service name");
    if (!Directory::createDirectoryRecursively(File::stripFilenameFromPath(path)) ||
        !internal::replaceFile(path, ConstByteSpan::fromText(getUnitText())))
        return reportFailure("install", "can't write " + path);
    const Answer answer = systemctl({"daemon-reload"});
    return answer.worked || reportFailure("install", answer.errors);
}

bool SystemdBackgroundService::uninstall() {
    const String path = getUnitPath();
    if (path.empty()) return reportFailure("uninstall", "invalid service name");
    if (!File::existsFile(path)) return reportFailure("uninstall", "there is no " + path);
    Answer answer = systemctl({"disable", "--", unitName()});
    if (!answer.worked) return reportFailure("uninstall", answer.errors);
    if (!File::deleteFile(path)) return reportFailure("uninstall", "can't delete " + path);
    answer = systemctl({"daemon-reload"});
    return answer.worked || reportFailure("uninstall", answer.errors);
}

bool SystemdBackgroundService::isInstalled() {
    return hasProperty("isInstalled", "LoadState", {"loaded"});
}

bool SystemdBackgroundService::isEnabled() {
    return hasProperty("isEnabled", "UnitFileState", {"enabled", "enabled-runtime"});
}

bool SystemdBackgroundService::isRunning() {
    return hasProperty("isRunning", "ActiveState", {"active", "reloading"});
}

bool SystemdBackgroundService::isStopped() {
    return hasProperty("isStopped", "ActiveState", {"inactive", "failed"});
}

// Half the time that systemd allows leaves room for a slow pass.
void SystemdBackgroundService::work() {
    const SmartPointer<BackgroundService> keepAlive = holdIfShared();
    tick();
    const uint32 now = system()->getTime();
    if (m_signOfLifeMs == 0 || now - m_lastSignOfLife < m_signOfLifeMs) return;
    m_lastSignOfLife = now;
    platform::notifyServiceManager("WATCHDOG=1");
}

bool SystemdBackgroundService::runEventLoop() {
    logInfoMessage("initializing service " + m_serviceName);
    System::installInterruptHandler();
    const uint64 allowedMs = platform::watchdogMicroseconds() / 1000;
    m_signOfLifeMs = static_cast<uint32>(std::min<uint64>(allowedMs / 2, INT32_MAX));
    m_lastSignOfLife = system()->getTime();
    m_shouldRun = true;
    SignalConnection* const connection =
        system()->signalApplicationTick.connect(this, &SystemdBackgroundService::work);
    logInfoMessage("service " + m_serviceName + " initialized...");
    platform::notifyServiceManager("READY=1");
    logInfoMessage("service " + m_serviceName + " running...");
    system()->runSimpleMainLoop();

    platform::notifyServiceManager("STOPPING=1");
    logInfoMessage("stopping service " + m_serviceName);
    system()->signalApplicationTick.disconnect(connection);
    m_shouldRun = false;
    tick();
    system()->syncUnsaved();
    logInfoMessage("service " + m_serviceName + " stopped...");
    return true;
}

} // namespace qel
