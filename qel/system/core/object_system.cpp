#include <qel/foundation/base/object.h>

#include <qel/system/core/system.h>

namespace qel {

System* Object::system() {
    return internal::g_system;
}

Application* Object::application() {
    return internal::g_system->getApplication();
}

} // namespace qel
