// A background service under systemd.
#pragma once

#include <qel/files/background_service.h>

namespace qel {

/// Supervises the child inside a service of systemd: a unit file makes this program the service, which calls
/// runEventLoop(). Everything else is done by systemd's program "systemctl". The unit's name is the service's
/// name followed by ".service". A name may contain ASCII letters, digits, ":", "-", "_", "." and "\", and
/// does not begin with "-", "." or "\".
/// Failures are sent to signalErrorMessage in the form "SystemdBackgroundService::install: text", where the
/// text is what systemctl wrote.
class QEL_API SystemdBackgroundService : public BackgroundService {
    QEL_CLASS(SystemdBackgroundService, BackgroundService)

public:
    /// The owner of the services: the machine, whose services only root may change, or this user.
    enum class Scope { System, User };

    /// Creates a service of the machine or of this user.
    explicit SystemdBackgroundService(Scope scope = Scope::System);
    ~SystemdBackgroundService() override;

    /// Sets the program that the unit file starts, instead of this one. @param arguments  of that program.
    void setServiceProgram(SmartCStr path, const Vector<String>& arguments = {});
    /// Sets the folder of unit files, instead of the default folder of the scope.
    void setUnitFolder(SmartCStr path) { m_unitFolder = path.c_str(); }
    /// Sets the number of seconds without a sign of life after which systemd restarts the service; 0, the
    /// default, disables this.
    void setWatchdogSeconds(unsigned seconds) { m_watchdogSeconds = seconds; }
    /// Returns the path of the unit file; empty if the name is not valid for a unit.
    String getUnitPath() const;
    /// Returns the text of the unit file.
    String getUnitText() const;

    /// Reports to systemd that the service is ready, supervises the child and sends signs of life until the
    /// process is interrupted; then kills the child and saves unsaved data. @return true.
    bool runEventLoop() override;
    bool hasServiceManager() const override { return true; }
    /// Writes the unit file and makes systemd read it. An existing unit is replaced.
    bool install() override;
    /// Disables the service, removes the unit file and makes systemd read its units again. The service keeps
    /// running.
    bool uninstall() override;
    bool isInstalled() override;
    bool isEnabled() override;
    bool enable() override { return change("enable"); }
    bool disable() override { return change("disable"); }
    /// Returns once the service is ready.
    bool start() override { return change("start"); }
    /// Returns once the service has ended.
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
    uint32 m_signOfLifeMs = 0; ///< interval between two signs of life; 0 for none
    uint32 m_lastSignOfLife = 0;
};

} // namespace qel
