#include <qel/foundation/base/object.h>

#include <qel/script/class_binder.h>

namespace qel {

void Object::bindSqVM(qelSq::Object* cls) {
    qelSq::ClassBinder<Object>(cls)
        .staticFunction<&Object::getStaticClassName>("getClassName")
        .method<&Object::getReferenceCount>("getReferenceCount");
}

} // namespace qel
