#include <qel/script/functor.h>

#include <qel/script/machine_entry_p.h>
#include <qel/script/vm.h>

#include <utility>

namespace qelSq {

Functor::Functor(Object receiver, Object closure)
    : m_receiver(std::move(receiver)), m_closure(std::move(closure)) {}

void Functor::execute() {
    SQVM* vm = Global::squirrelVM;
    if (!vm) return setFail();
    internal::MachineEntry entry(vm);
    m_closure.push(vm);
    m_receiver.push(vm);
    if (SQ_SUCCEEDED(sq_call(vm, 1, SQFalse, SQTrue))) return;
    VM::from(vm)->noteFailedScript();
    setFail();
}

} // namespace qelSq
