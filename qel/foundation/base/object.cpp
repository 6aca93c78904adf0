#include <qel/foundation/base/object.h>

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/weak_pointer.h>

#include <functional>
#include <map>
#include <string>

namespace qel {

namespace internal {

System* g_system = nullptr;

} // namespace internal

namespace {

struct Singletons {
    Mutex mutex;
    std::map<std::string, SmartPointer<Object>, std::less<>> objects QEL_GUARDED_BY(mutex);
};

// Never destroyed: objects that are still registered must not be destroyed along with other statics at exit.
Singletons& singletons() {
    static Singletons& instance = *new Singletons;
    return instance;
}

Mutex& extensionMutex() {
    static Mutex mutex;
    return mutex;
}

} // namespace

const char* Object::getDynamicClassName() const {
    return getStaticClassName();
}

ClassChain Object::getDynamicClassChain() const {
    return getStaticClassChain();
}

ClassChain Object::getStaticClassChain() {
    ClassChain chain{};
    fillClassChain(chain, 0);
    return chain;
}

int Object::fillClassChain(ClassChain& chain, int index) {
    return internal::appendClassName(chain, index, getStaticClassName());
}

Object::~Object() {
    WeakPointerExtension* extension = m_weak.load(std::memory_order_acquire);
    if (!extension) return;
    extension->removeWeakPointers();
    extension->release();
}

void Object::removeWeakPointers() {
    if (WeakPointerExtension* extension = m_weak.load(std::memory_order_acquire)) {
        extension->removeWeakPointers();
    }
}

void Object::createWeakPointerExtension() {
    MutexLock lock(extensionMutex());
    if (m_weak.load(std::memory_order_relaxed)) return;
    m_weak.store(new WeakPointerExtension, std::memory_order_release);
}

Object* Object::setSingleton(const char* name, Object* object) {
    Singletons& registry = singletons();
    MutexLock lock(registry.mutex);
    if (object) {
        registry.objects[name] = object;
    } else if (auto found = registry.objects.find(name); found != registry.objects.end()) {
        registry.objects.erase(found);
    }
    return object;
}

Object* Object::getSingletonObject(const char* name) {
    Singletons& registry = singletons();
    MutexLock lock(registry.mutex);
    auto found = registry.objects.find(name);
    return found == registry.objects.end() ? nullptr : found->second.get();
}

void Object::discardSingletons() {
    Singletons& registry = singletons();
    MutexLock lock(registry.mutex);
    registry.objects.clear();
}

} // namespace qel
