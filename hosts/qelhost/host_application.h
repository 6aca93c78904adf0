// The host's own Application: how the run went, and what it will answer the shell.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/plugins/plugins.h>
#include <qel/system/core/application.h>

#include <optional>

namespace qelhost {

/// Holds what belongs to one run. @threads main thread.
class HostApplication : public qel::Application {
    QEL_CLASS(HostApplication, qel::Application)

public:
    HostApplication();

    /// The plugins of this run.
    qel::Plugins& plugins() { return *m_plugins; }

    /// A script asks for this exit status; the last one asked for counts.
    void requestExitStatus(int status) { m_requestedStatus = status; }
    /// The exit status of the run. @param scriptFailed  whether a script did not compile or ended by an
    /// error.
    int exitStatus(bool scriptFailed) const { return m_requestedStatus.value_or(scriptFailed ? 1 : 0); }

    /// The application of the running System.
    static HostApplication& instance();

private:
    qel::SmartPointer<qel::Plugins> m_plugins;
    std::optional<int> m_requestedStatus;
};

} // namespace qelhost
