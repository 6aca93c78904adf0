#include <qel/plugins/plugins.h>

#include <qel/script/class_binder.h>

namespace qel {

void Plugins::bindSqVM(qelSq::Object* cls) {
    Object::bindSqVM(cls);
    qelSq::ClassBinder<Plugins>(cls)
        .staticFunction<&Plugins::getStaticClassName>("getClassName")
        .method<&Plugins::addListener>("addListener");
}

} // namespace qel
