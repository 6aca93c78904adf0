#include <qel/script/functor.h>

#include <qel/script/stack_guard_p.h>

#include <utility>

namespace qelSq {

Functor::Functor(Object receiver, Object closure)
    : m_receiver(std::move(receiver)), m_closure(std::move(closure)) {}

void Functor::execute() {
    SQVM* vm = Global::squirrelVM;
    if (!vm) return setFail();
    internal::StackGuard guard(vm);
    m_closure.push(vm);
    m_receiver.push(vm);
    if (SQ_FAILED(sq_call(vm, 1, SQFalse, SQTrue))) setFail();
}

} // namespace qelSq
