#include "main_loop.h"

#include <qel/script/vm.h>
#include <qel/system/core/system.h>

#include <algorithm>

namespace qelhost {

namespace {

constexpr unsigned kLongestSleepMs = 10;
constexpr qel::uint32 kTimeToFinishMs = 500;
constexpr qel::uint32 kBusyPassMs = 2; // something else than scripts had work to do

/// One pass, and a sleep if nothing moved in it.
class Pacer {
public:
    void pass(qel::System& system) {
        system.processEvents(0);
        const bool isBusy =
            system.getVM()->ranThreads() || system.getTime() - system.getPresentationTime() >= kBusyPassMs;
        m_sleepMs = isBusy ? 0 : std::min(m_sleepMs + 1, kLongestSleepMs);
        if (m_sleepMs != 0) system.delegateSleep(m_sleepMs);
    }

private:
    unsigned m_sleepMs = 0;
};

} // namespace

void runMainLoop(bool stay) {
    qel::System& system = *qel::Object::system();
    const qelSq::VM& vm = *system.getVM();
    Pacer pacer;
    while (!qel::System::wasInterruptHandlerCalled() && (stay || vm.threadsActive())) pacer.pass(system);

    const qel::uint32 end = system.getTime();
    while (vm.threadsActive() && system.getTime() - end < kTimeToFinishMs) pacer.pass(system);
}

} // namespace qelhost
