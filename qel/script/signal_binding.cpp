#include <qel/script/signal_class.h>

#include <qel/script/class_binder.h>

namespace qelSq {

void ScriptClass<qel::Signal<void()>>::bind(Object* cls) {
    qel::Object::bindSqVM(cls);
    ClassBinder<qel::Signal<void()>>(cls).staticFunction<&ScriptClass::name>("getClassName");
}

} // namespace qelSq
