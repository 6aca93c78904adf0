#include <qel/foundation/base/weak_pointer.h>

namespace qel {

PointerOwner::~PointerOwner() = default;

void WeakPointerBase::registerObject() {
    Object* object = getObject();
    if (!object) return;
    if (!object->m_weak.load(std::memory_order_acquire)) object->createWeakPointerExtension();
    m_extension = object->m_weak.load(std::memory_order_acquire);
    m_extension->add(*this);
}

void WeakPointerBase::unregisterObject() {
    if (!m_extension) return;
    m_extension->remove(*this);
    m_extension->release();
    m_extension = nullptr;
}

void WeakPointerBase::switchTo(Object* object) {
    unregisterObject();
    m_object.store(object, std::memory_order_relaxed);
    registerObject();
}

void WeakPointerExtension::add(WeakPointerBase& pointer) {
    m_referenceCount.fetch_add(1);
    MutexLock lock(m_mutex);
    pointer.m_previous = m_last;
    pointer.m_next = nullptr;
    (m_last ? m_last->m_next : m_first) = &pointer;
    m_last = &pointer;
}

void WeakPointerExtension::remove(WeakPointerBase& pointer) {
    MutexLock lock(m_mutex);
    const bool linked = pointer.m_previous || m_first == &pointer;
    if (linked) unlinkLocked(pointer);
}

void WeakPointerExtension::removeWeakPointers() {
    MutexLock lock(m_mutex);
    while (WeakPointerBase* pointer = m_last) {
        unlinkLocked(*pointer);
        pointer->m_object.store(nullptr, std::memory_order_relaxed);
        PointerOwner* owner = pointer->m_owner;
        void* ownerData = pointer->m_ownerData;
        if (!owner) continue;
        lock.unlock();
        owner->onWeakPointerCleared(ownerData);
        lock.lock();
    }
}

void WeakPointerExtension::release() {
    if (m_referenceCount.fetch_sub(1) == 1) delete this;
}

void WeakPointerExtension::unlinkLocked(WeakPointerBase& pointer) {
    (pointer.m_previous ? pointer.m_previous->m_next : m_first) = pointer.m_next;
    (pointer.m_next ? pointer.m_next->m_previous : m_last) = pointer.m_previous;
    pointer.m_previous = nullptr;
    pointer.m_next = nullptr;
}

} // namespace qel
