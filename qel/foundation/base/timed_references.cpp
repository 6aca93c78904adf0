#include <qel/foundation/base/timed_references.h>

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/object.h>

#include <atomic>
#include <cstddef>
#include <vector>

namespace qel {

namespace {

/// References that are waiting for their release.
class PendingReleases {
public:
    void add(Object* object) {
        MutexLock lock(m_mutex);
        m_objects.push_back(object);
        m_count.store(m_objects.size(), std::memory_order_relaxed);
    }

    /// Releases all references, last in, first out. Objects are destroyed outside the lock, so that they may
    /// add to the list.
    bool releaseAll() {
        bool released = false;
        while (Object* object = takeLast()) {
            object->decreaseReferenceCount();
            released = true;
        }
        return released;
    }

private:
    Object* takeLast() {
        if (m_count.load(std::memory_order_relaxed) == 0) return nullptr; // idle passes take no lock
        MutexLock lock(m_mutex);
        if (m_objects.empty()) return nullptr;
        Object* object = m_objects.back();
        m_objects.pop_back();
        m_count.store(m_objects.size(), std::memory_order_relaxed);
        return object;
    }

    Mutex m_mutex;
    std::vector<Object*> m_objects QEL_GUARDED_BY(m_mutex);
    std::atomic<std::size_t> m_count{0};
};

// Never destroyed: objects may hand over references during the destruction of statics.
PendingReleases& mainReleases() {
    static PendingReleases& instance = *new PendingReleases;
    return instance;
}

PendingReleases& parallelReleases() {
    static PendingReleases& instance = *new PendingReleases;
    return instance;
}

} // namespace

void internal::addTimedReference(Object* object) {
    mainReleases().add(object);
}

void internal::addTimedReferenceParallel(Object* object) {
    parallelReleases().add(object);
}

bool internal::removeAllTimedReferences() {
    return mainReleases().releaseAll();
}

bool internal::removeAllTimedReferencesParallel() {
    return parallelReleases().releaseAll();
}

void Object::decreaseReferenceCountAsyncOnMain() {
    internal::addTimedReference(this);
}

void Object::takeTimedReference() {
    increaseReferenceCount();
    decreaseReferenceCountAsyncOnMain();
}

} // namespace qel
