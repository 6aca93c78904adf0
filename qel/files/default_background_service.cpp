#include <qel/files/default_background_service.h>

#include <qel/files/file_replace.h>
#include <qel/files/ini_parser.h>
#include <qel/system/core/system.h>

namespace qel {

namespace {

constexpr const char* kFileName = "/service.ini";
constexpr uint32 kWaitMs = 5000;
constexpr unsigned kPauseMs = 5;

} // namespace

bool DefaultBackgroundService::isEnabled() {
    bool enabled = m_enabledByDefault;
    const String folder = system()->getApplicationDirectoryNoCreate(m_serviceName);
    INIParser((folder + kFileName).c_str()).getBoolean("service:enabled", enabled);
    return enabled;
}

bool DefaultBackgroundService::writeEnabled(bool enabled) {
    const String folder = system()->getApplicationDirectory(m_serviceName);
    // If the folder cannot be created, "." is returned instead, where isEnabled() would never look.
    if (folder == "." && system()->getApplicationDirectoryNoCreate(m_serviceName) != ".") return false;
    const String text = String("[service]\nenabled=") + (enabled ? "1\n" : "0\n");
    return internal::replaceFile(folder + kFileName, ConstByteSpan::fromText(text));
}

bool DefaultBackgroundService::start() {
    m_shouldRun = true;
    return tickUntil(&BackgroundService::isRunning);
}

bool DefaultBackgroundService::stop() {
    m_shouldRun = false;
    return tickUntil(&BackgroundService::isStopped);
}

bool DefaultBackgroundService::tickUntil(bool (BackgroundService::*reached)()) {
    const SmartPointer<BackgroundService> keepAlive = holdIfShared();
    const uint32 begin = system()->getTime();
    for (;;) {
        tick();
        if ((this->*reached)()) return true;
        if (system()->getTime() - begin >= kWaitMs) return false;
        System::sleep(kPauseMs);
    }
}

} // namespace qel
