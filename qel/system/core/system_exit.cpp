#include <qel/system/core/system.h>

#include <qel/platform/interrupt.h>
#include <qel/platform/process_self.h>

#include <cstdlib>

namespace qel {

void System::exitProcess(int status) {
    syncUnsaved();
    std::exit(status);
}

void System::forceExitProcess(int status) {
    platform::endProcess(status);
}

void System::installInterruptHandler() {
    platform::installInterruptHandler();
}

bool System::wasInterruptHandlerCalled() {
    return platform::wasInterrupted();
}

void System::setHitSIGINT(bool hit) {
    platform::setInterrupted(hit);
}

} // namespace qel
