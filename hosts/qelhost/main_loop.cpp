#include "main_loop.h"

#include <hosts/shared/pacer.h>
#include <qel/script/vm.h>
#include <qel/system/core/system.h>

namespace qelhost {

namespace {

constexpr qel::uint32 kTimeToFinishMs = 500;

} // namespace

void runMainLoop(bool stay) {
    qel::System& system = *qel::Object::system();
    const qelSq::VM& vm = *system.getVM();
    qelhosts::Pacer pacer;
    const auto ranScripts = [&vm] { return vm.ranThreads(); };
    const auto sleep = [&system](unsigned ms) { system.delegateSleep(ms); };
    while (!qel::System::wasInterruptHandlerCalled() && (stay || vm.threadsActive()))
        pacer.pass(system, ranScripts, sleep);

    const qel::uint32 end = system.getTime();
    while (vm.threadsActive() && system.getTime() - end < kTimeToFinishMs)
        pacer.pass(system, ranScripts, sleep);
}

} // namespace qelhost
