// Keeps one child process alive.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/signal.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel {

class Process;

/// Starts a child process, starts it again when it ends, and turns its output into messages. Listeners may
/// let go of the service that tells them; one that nobody holds by a SmartPointer must outlive its messages.
/// @threads main.
class QEL_API BackgroundService : public Object {
    QEL_CLASS(BackgroundService, Object)

public:
    BackgroundService();
    /// Ends the child.
    ~BackgroundService() override;

    /// Runs as a service until it is told to stop. @return whether that went well.
    virtual bool runEventLoop() = 0;
    /// Whether a service manager of the system stands behind this class.
    virtual bool hasServiceManager() const = 0;
    /// Makes the service known to the service manager. @return whether it is known now.
    virtual bool install() = 0;
    /// Makes the service manager forget the service. @return whether it is forgotten now.
    virtual bool uninstall() = 0;
    /// Whether the service manager knows the service.
    virtual bool isInstalled() = 0;
    /// Whether the service is to start by itself.
    virtual bool isEnabled() = 0;
    /// Lets the service start by itself. @return whether that was stored.
    virtual bool enable() = 0;
    /// Keeps the service from starting by itself. @return whether that was stored.
    virtual bool disable() = 0;
    /// Starts the service. @return whether it runs now.
    virtual bool start() = 0;
    /// Stops the service. @return whether it is stopped now.
    virtual bool stop() = 0;
    /// Whether the service runs.
    virtual bool isRunning() = 0;
    /// Whether the service is stopped.
    virtual bool isStopped() = 0;
    /// Starts the child. @return whether it was started.
    virtual bool spawnProcess() = 0;

    /// Emits signalInfoMessage.
    void logInfoMessage(SmartCStr text) { signalInfoMessage(this, text); }
    /// Emits signalWarningMessage.
    void logWarningMessage(SmartCStr text) { signalWarningMessage(this, text); }
    /// Emits signalErrorMessage.
    void logErrorMessage(SmartCStr text) { signalErrorMessage(this, text); }

    /// Sets the name by which the system knows the service.
    void setServiceName(SmartCStr name) { m_serviceName = name.c_str(); }
    /// The name by which the system knows the service.
    const String& getServiceName() const { return m_serviceName; }
    /// Sets the name that people see.
    void setDisplayName(SmartCStr name) { m_displayName = name.c_str(); }
    /// The name that people see.
    const String& getDisplayName() const { return m_displayName; }
    /// Sets the program of the child.
    void setProcessFilePath(SmartCStr path) { m_processFilePath = path.c_str(); }
    /// The program of the child.
    const String& getProcessFilePath() const { return m_processFilePath; }
    /// Adds an argument of the child's.
    void addCommandLineArg(SmartCStr argument) { m_arguments.emplace_back(argument); }
    /// Drops the child's arguments.
    void clearArgs() { m_arguments.clear(); }

    Signal<void(BackgroundService*, const char*)> signalInfoMessage;    ///< what goes on, and child output
    Signal<void(BackgroundService*, const char*)> signalWarningMessage; ///< child output that holds "WARN"
    Signal<void(BackgroundService*, const char*)> signalErrorMessage;   ///< failures, and child output that
                                                                        ///< holds "ERROR" or "FATAL"

protected:
    /// One step of keeping the child: ends it when it should not run, starts it when it should, once a second
    /// at most, and passes on its output.
    void tick();
    /// Ends the child and drops it.
    void killProcess();
    /// Starts processFilePath, or "generic.exe" in its place, with the arguments. @return whether it runs.
    bool spawnConfiguredProcess();
    /// A reference to this object while messages go out; null when nobody holds it by a SmartPointer.
    SmartPointer<BackgroundService> holdIfShared();

    String m_serviceName;            ///< the name by which the system knows the service
    String m_displayName;            ///< the name that people see
    String m_processFilePath;        ///< the program of the child
    Vector<String> m_arguments;      ///< the child's, without the program
    SmartPointer<Process> m_process; ///< the child; null when there is none
    uint32 m_lastSpawnTime = 0;      ///< a reading of System::getTime(); 0 before the first start
    bool m_shouldRun = false;        ///< whether the child is to be kept

private:
    /// @param process  held here, since a listener may let go of the child.
    void passOnOutput(SmartPointer<Process> process, bool isRunning);
    void passOn(const String& line);
};

} // namespace qel
