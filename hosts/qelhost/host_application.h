// HostApplication: the state of a run and its exit status.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/plugins/plugins.h>
#include <qel/system/core/application.h>

#include <optional>

namespace qelhost {

/// Holds the state of one run. @threads main thread.
class HostApplication : public qel::Application {
    QEL_CLASS(HostApplication, qel::Application)

public:
    HostApplication();

    /// Returns the plugins of this run.
    qel::Plugins& plugins() { return *m_plugins; }

    /// Stores the exit status that a script requests; the last request counts.
    void requestExitStatus(int status) { m_requestedStatus = status; }
    /// Returns the exit status of the run: the one that a script requested, else
    /// qelhosts::kInterruptedStatus if an interrupt stopped a script, else 1 if a script or the start of the
    /// plugins failed, else 0.
    int exitStatus() const;
    /// Records that the plugins folder, or something in it, could not be read.
    void noteFailedStart() { m_startFailed = true; }

    /// Returns the application of the running System.
    static HostApplication& instance();

private:
    qel::SmartPointer<qel::Plugins> m_plugins;
    std::optional<int> m_requestedStatus;
    bool m_startFailed = false;
};

} // namespace qelhost
