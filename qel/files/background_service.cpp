#include <qel/files/background_service.h>

#include <qel/files/child_lines_p.h>
#include <qel/system/core/system.h>

namespace qel {

namespace {

constexpr uint32 kSpawnPauseMs = 1000;

} // namespace

BackgroundService::BackgroundService() = default;

BackgroundService::~BackgroundService() = default;

void BackgroundService::tick() {
    const SmartPointer<BackgroundService> keepAlive = holdIfShared(); // a listener may release this
    if (m_process && !m_process->tick()) {
        passOnOutput(m_process, false); // its last output
        killProcess();
    }
    if (!m_shouldRun && m_process) killProcess();
    if (m_shouldRun && !m_process) {
        const uint32 now = system()->getTime();
        if (m_lastSpawnTime == 0 || now - m_lastSpawnTime >= kSpawnPauseMs) {
            m_lastSpawnTime = now;
            logInfoMessage("spawning process " + m_processFilePath + " ...");
            spawnProcess();
        }
    }
    if (m_process) passOnOutput(m_process, true);
}

void BackgroundService::killProcess() {
    if (!m_process) return;
    const SmartPointer<Process> process = m_process;
    m_process = nullptr; // first, because a listener may call this function
    logInfoMessage("killing process " + m_processFilePath + " ...");
    process->terminate(false);
    passOnOutput(process, false); // a last line without a line end
}

bool BackgroundService::spawnConfiguredProcess() {
    const String path = m_processFilePath.empty() ? "generic.exe" : m_processFilePath;
    List<String> arguments(m_arguments.begin(), m_arguments.end());
    arguments.push_front(path);
    m_process = new Process;
    if (!m_process->spawn(path, arguments, nullptr, false)) m_process = nullptr;
    return m_process != nullptr;
}

SmartPointer<BackgroundService> BackgroundService::holdIfShared() {
    return getReferenceCount() > 0 ? this : nullptr;
}

void BackgroundService::passOnOutput(SmartPointer<Process> process, bool isRunning) {
    const auto take = [this](const String& line) { passOn(line); };
    internal::takeLines(*process, isRunning, take, take);
}

void BackgroundService::passOn(const String& line) {
    if (line.contains("ERROR") || line.contains("FATAL"))
        logErrorMessage(line);
    else if (line.contains("WARN"))
        logWarningMessage(line);
    else
        logInfoMessage(line);
}

} // namespace qel
