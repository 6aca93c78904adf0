#include "host_application.h"

#include <hosts/shared/command_line.h>
#include <qel/script/vm.h>
#include <qel/system/core/system.h>

namespace qelhost {

HostApplication::HostApplication() : m_plugins(new qel::Plugins()) {}

int HostApplication::exitStatus() const {
    const qelSq::VM& vm = *system()->getVM();
    if (m_requestedStatus) return *m_requestedStatus;
    if (qel::System::wasInterruptHandlerCalled() && vm.threadsActive()) return qelhosts::kInterruptedStatus;
    return m_startFailed || vm.getFailedScriptCount() != 0 ? 1 : 0;
}

HostApplication& HostApplication::instance() {
    return *static_cast<HostApplication*>(application());
}

} // namespace qelhost
