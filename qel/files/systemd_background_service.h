// A background service under systemd.
#pragma once

#include <qel/files/background_service.h>

namespace qel {

/// Keeps the child inside a service of systemd: this program becomes the service, by a unit file that names
/// its path, and runEventLoop() runs in it. All else is asked of systemd through its program "systemctl".
/// Failures go to signalErrorMessage in the form "SystemdBackgroundService::install: text".
class QEL_API SystemdBackgroundService : public BackgroundService {
    QEL_CLASS(SystemdBackgroundService, BackgroundService)

public:
    /// Whose services: the machine's, which only root may change, or this user's.
    enum class Scope { System, User };

    /// A service of the machine or of this user.
    explicit SystemdBackgroundService(Scope scope = Scope::System) : m_scope(scope) {}

    /// The program that the unit file starts; by default this one. @param arguments  of that program.
    void setServiceProgram(SmartCStr path, const Vector<String>& arguments = {});
    /// The folder of unit files; by default the one that belongs to the scope.
    void setUnitFolder(SmartCStr path) { m_unitFolder = path.c_str(); }
    /// Seconds without a sign of life after which systemd starts the service anew; 0, the default, for never.
    void setWatchdogSeconds(unsigned seconds) { m_watchdogSeconds = seconds; }
    /// The path of the unit file; empty for a name that can't be a unit's.
    String getUnitPath() const;
    /// The text of the unit file.
    String getUnitText() const;

    /// Tells systemd that the service is ready, keeps the child and gives signs of life until the process is
    /// interrupted; then ends the child and saves what is unsaved.
    bool runEventLoop() override;
    bool hasServiceManager() const override { return true; }
    bool install() override;
    bool uninstall() override;
    bool isInstalled() override;
    bool isEnabled() override;
    bool enable() override;
    bool disable() override;
    bool start() override;
    bool stop() override;
    bool isRunning() override;
    bool isStopped() override;
    bool spawnProcess() override { return spawnConfiguredProcess(); }

private:
    struct Answer;

    Answer systemctl(const char* operation, const Vector<String>& arguments) const;
    bool change(const char* operation);
    String property(const char* operation, const char* name);
    void reportFailure(const char* operation, const String& text);
    void giveSignOfLife();

    Scope m_scope;
    String m_serviceProgram;
    Vector<String> m_serviceArguments;
    String m_unitFolder;
    unsigned m_watchdogSeconds = 0;
    uint32 m_lastSignOfLife = 0;
};

} // namespace qel
