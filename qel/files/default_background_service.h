// A background service without a service manager.
#pragma once

#include <qel/files/background_service.h>

namespace qel {

/// Supervises the child from within an ordinary process. The file "service.ini" in the application directory
/// of the service's name stores whether the service is enabled, in the section "service" under the key
/// "enabled".
class QEL_API DefaultBackgroundService : public BackgroundService {
    QEL_CLASS(DefaultBackgroundService, BackgroundService)

public:
    /// @param enabledByDefault  the result of isEnabled() while nothing is stored.
    explicit DefaultBackgroundService(bool enabledByDefault = true) : m_enabledByDefault(enabledByDefault) {}

    /// Does nothing. @return true.
    bool runEventLoop() override { return true; }
    bool hasServiceManager() const override { return false; }
    /// Does nothing. @return false.
    bool install() override { return false; }
    /// Does nothing. @return false.
    bool uninstall() override { return false; }
    bool isInstalled() override { return false; }
    bool isEnabled() override;
    bool enable() override { return writeEnabled(true); }
    bool disable() override { return writeEnabled(false); }
    /// Waits up to 5 seconds for isRunning().
    bool start() override;
    /// Waits up to 5 seconds for isStopped().
    bool stop() override;
    bool isRunning() override { return m_shouldRun; }
    bool isStopped() override { return !m_shouldRun; }
    bool spawnProcess() override { return spawnConfiguredProcess(); }

private:
    bool writeEnabled(bool enabled);
    bool tickUntil(bool (BackgroundService::*reached)());

    bool m_enabledByDefault;
};

} // namespace qel
