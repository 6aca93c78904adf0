#include <qel/scene/actors/touch_state.h>

#include <qel/script/class_binder.h>

namespace qel {

void TouchState::bindSqVM(qelSq::Object* cls) {
    Object::bindSqVM(cls);
    qelSq::ClassBinder<TouchState>(cls).staticFunction<&TouchState::getStaticClassName>("getClassName");
}

} // namespace qel
