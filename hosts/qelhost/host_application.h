// The host's own Application: how the run went, and what it will answer the shell.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/plugins/plugins.h>
#include <qel/system/core/application.h>

#include <optional>

namespace qelhost {

/// The exit status when an interrupt cut off a script, as a shell reports a program that Ctrl-C ended.
inline constexpr int kInterruptedStatus = 130;

/// Holds what belongs to one run. @threads main thread.
class HostApplication : public qel::Application {
    QEL_CLASS(HostApplication, qel::Application)

public:
    HostApplication();

    /// The plugins of this run.
    qel::Plugins& plugins() { return *m_plugins; }

    /// A script asks for this exit status; the last one asked for counts.
    void requestExitStatus(int status) { m_requestedStatus = status; }
    /// The exit status of the run: what a script asked for, else kInterruptedStatus if an interrupt cut off
    /// a script, else 1 if a script or the start of the plugins failed, else 0.
    int exitStatus() const;
    /// Notes that the folder of plugins, or something in it, could not be read.
    void noteFailedStart() { m_startFailed = true; }

    /// The application of the running System.
    static HostApplication& instance();

private:
    qel::SmartPointer<qel::Plugins> m_plugins;
    std::optional<int> m_requestedStatus;
    bool m_startFailed = false;
};

} // namespace qelhost
