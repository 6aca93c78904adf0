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

/// Starts a child process, restarts it when it ends, and turns its output into messages. A listener may
/// release the service that sends the message; a service that no SmartPointer holds must outlive its
/// messages.
/// @threads main.
class QEL_API BackgroundService : public Object {
    QEL_CLASS(BackgroundService, Object)

public:
    BackgroundService();
    /// Kills the child.
    ~BackgroundService() override;

    /// Runs as a service until it is asked to stop. @return true on success.
    virtual bool runEventLoop() = 0;
    /// Returns true if this class uses a service manager of the system.
    virtual bool hasServiceManager() const = 0;
    /// Registers the service with the service manager. @return true if it is registered now.
    virtual bool install() = 0;
    /// Removes the service from the service manager. @return true if it is no longer registered.
    virtual bool uninstall() = 0;
    /// Returns true if the service is registered with the service manager.
    virtual bool isInstalled() = 0;
    /// Returns true if the service starts automatically.
    virtual bool isEnabled() = 0;
    /// Makes the service start automatically. @return true if the setting was stored.
    virtual bool enable() = 0;
    /// Stops the service from starting automatically. @return true if the setting was stored.
    virtual bool disable() = 0;
    /// Starts the service. @return true if it is running now.
    virtual bool start() = 0;
    /// Stops the service. @return true if it is stopped now.
    virtual bool stop() = 0;
    /// Returns true if the service is running.
    virtual bool isRunning() = 0;
    /// Returns true if the service is stopped.
    virtual bool isStopped() = 0;
    /// Starts the child. @return true if it was started.
    virtual bool spawnProcess() = 0;

    /// Emits signalInfoMessage.
    void logInfoMessage(SmartCStr text) { signalInfoMessage(this, text); }
    /// Emits signalWarningMessage.
    void logWarningMessage(SmartCStr text) { signalWarningMessage(this, text); }
    /// Emits signalErrorMessage.
    void logErrorMessage(SmartCStr text) { signalErrorMessage(this, text); }

    /// Sets the name under which the system knows the service.
    void setServiceName(SmartCStr name) { m_serviceName = name.c_str(); }
    /// Returns the name under which the system knows the service.
    const String& getServiceName() const { return m_serviceName; }
    /// Sets the name that is shown to users.
    void setDisplayName(SmartCStr name) { m_displayName = name.c_str(); }
    /// Returns the name that is shown to users.
    const String& getDisplayName() const { return m_displayName; }
    /// Sets the program that the child runs.
    void setProcessFilePath(SmartCStr path) { m_processFilePath = path.c_str(); }
    /// Returns the program that the child runs.
    const String& getProcessFilePath() const { return m_processFilePath; }
    /// Adds an argument for the child.
    void addCommandLineArg(SmartCStr argument) { m_arguments.emplace_back(argument); }
    /// Removes all arguments for the child.
    void clearArgs() { m_arguments.clear(); }

    Signal<void(BackgroundService*, const char*)> signalInfoMessage;    ///< progress, and child output
    Signal<void(BackgroundService*, const char*)> signalWarningMessage; ///< child output with "WARN"
    Signal<void(BackgroundService*, const char*)> signalErrorMessage;   ///< failures, and child output with
                                                                        ///< "ERROR" or "FATAL"

protected:
    /// Does one step of supervision: kills the child if it should not run, starts it if it should (at most
    /// once a second), and forwards its output.
    void tick();
    /// Kills the child and releases it.
    void killProcess();
    /// Starts processFilePath, or "generic.exe" if it is empty, with the arguments. @return true if it is
    /// running.
    bool spawnConfiguredProcess();
    /// Returns a reference that keeps this object alive while messages are sent; null if no SmartPointer
    /// holds it.
    SmartPointer<BackgroundService> holdIfShared();

    String m_serviceName;            ///< the name under which the system knows the service
    String m_displayName;            ///< the name that is shown to users
    String m_processFilePath;        ///< the program that the child runs
    Vector<String> m_arguments;      ///< the child's arguments, without the program
    SmartPointer<Process> m_process; ///< the child; null while none runs
    uint32 m_lastSpawnTime = 0;      ///< a value of System::getTime(); 0 before the first start
    bool m_shouldRun = false;        ///< true if the child should be kept running

private:
    /// @param process  held here because a listener may release the child.
    void passOnOutput(SmartPointer<Process> process, bool isRunning);
    void passOn(const String& line);
};

} // namespace qel
