// A background service under systemd.
#pragma once

#include <qel/files/background_service.h>

namespace qel {

/// Keeps the child inside a service of systemd: a unit file makes this program the service, and
/// runEventLoop() runs in it. All else is asked of systemd through its program "systemctl". The unit is
/// called as the service, with ".service" behind it; a name may hold ASCII letters, digits, ":", "-", "_",
/// "." and
/// "\", and begins with none of the last four but "_".
/// Failures go to signalErrorMessage in the form "SystemdBackgroundService::install: text", with the text
/// that systemctl wrote.
class QEL_API SystemdBackgroundService : public BackgroundService {
    QEL_CLASS(SystemdBackgroundService, BackgroundService)

public:
    /// Whose services: the machine's, which only root may change, or this user's.
    enum class Scope { System, User };

    /// A service of the machine or of this user.
    explicit SystemdBackgroundService(Scope scope = Scope::System);
    ~SystemdBackgroundService() override;

    /// Sets the program that the unit file starts, instead of this one. @param arguments  of that program.
    void setServiceProgram(SmartCStr path, const Vector<String>& arguments = {});
    /// Sets the folder of unit files, instead of the one that belongs to the scope.
    void setUnitFolder(SmartCStr path) { m_unitFolder = path.c_str(); }
    /// Sets after how many seconds without a sign of life systemd starts the service anew; 0, the default,
    /// for never.
    void setWatchdogSeconds(unsigned seconds) { m_watchdogSeconds = seconds; }
    /// The path of the unit file; empty for a name that can't be a unit's.
    String getUnitPath() const;
    /// The text of the unit file.
    String getUnitText() const;

    /// Tells systemd that the service is ready, keeps the child and gives signs of life until the process is
    /// interrupted; then ends the child and saves what is unsaved. @return true.
    bool runEventLoop() override;
    bool hasServiceManager() const override { return true; }
    /// Writes the unit file and lets systemd read it. A unit that exists is replaced.
    bool install() override;
    /// Disables the service, removes the unit file and lets systemd forget it. The service goes on running.
    bool uninstall() override;
    bool isInstalled() override;
    bool isEnabled() override;
    bool enable() override { return change("enable"); }
    bool disable() override { return change("disable"); }
    /// Returns when the service is ready.
    bool start() override { return change("start"); }
    /// Returns when the service has ended.
    bool stop() override { return change("stop"); }
    bool isRunning() override;
    bool isStopped() override;
    bool spawnProcess() override { return spawnConfiguredProcess(); }

private:
    struct Answer;

    String unitName() const;
    Answer systemctl(const List<String>& arguments) const;
    bool change(const char* operation);
    bool hasProperty(const char* operation, const char* name, std::initializer_list<const char*> values);
    bool reportFailure(const char* operation, const String& text);
    void work();

    Scope m_scope;
    String m_serviceProgram;
    Vector<String> m_serviceArguments;
    String m_unitFolder;
    unsigned m_watchdogSeconds = 0;
    uint32 m_signOfLifeMs = 0; ///< between two signs of life; 0 for none
    uint32 m_lastSignOfLife = 0;
};

} // namespace qel
