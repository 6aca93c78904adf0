// Weak pointers: references that become null when their object dies.
#pragma once

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <atomic>
#include <cstddef>

namespace qel {

/// Base of classes that are notified when the target of a weak pointer dies.
class QEL_API PointerOwner {
public:
    virtual ~PointerOwner();
    /// Called after the target of a weak pointer has died; the pointer is already null.
    /// @param ownerData  the value passed to WeakPointerBase::setOwner.
    /// @threads the thread on which the target dies; no lock is held.
    virtual void onWeakPointerCleared(void* ownerData) = 0;
};

/// The untyped part of a weak pointer: the target, and the owner to notify when it dies.
///
/// A weak pointer does not keep its target alive, so its target is to be read on the thread that releases it,
/// in practice the main thread. Registering, unregistering and the death of the target may race freely.
class QEL_API WeakPointerBase {
public:
    /// Refers to @p object without being registered with it.
    explicit WeakPointerBase(Object* object = nullptr) : m_object(object) {}
    WeakPointerBase(const WeakPointerBase&) = delete;
    WeakPointerBase& operator=(const WeakPointerBase&) = delete;

    /// Sets the owner that is notified of the target's death, with null data; null removes it.
    void setOwner(PointerOwner* owner) { setOwner(owner, nullptr); }
    /// Sets the owner that is notified of the target's death; it receives @p ownerData.
    void setOwner(PointerOwner* owner, void* ownerData) {
        m_owner = owner;
        m_ownerData = ownerData;
    }

protected:
    ~WeakPointerBase() { unregisterObject(); }

    /// Adds the pointer to the end of its target's list; does nothing if the target is null.
    void registerObject();
    /// Removes the pointer from its target's list; the target stays readable.
    void unregisterObject();
    /// Changes the target to @p object and registers with it.
    void switchTo(Object* object);
    /// Returns the target, or null if it has died.
    Object* getObject() const { return m_object.load(std::memory_order_relaxed); }

private:
    friend class WeakPointerExtension;

    std::atomic<Object*> m_object;
    PointerOwner* m_owner = nullptr;
    void* m_ownerData = nullptr;
    WeakPointerExtension* m_extension = nullptr; // holds a reference to it while registered
    WeakPointerBase* m_previous = nullptr;
    WeakPointerBase* m_next = nullptr;
};

/// The list of weak pointers to one object, created when the first is registered. It lives as long as the
/// object or any pointer registered with it, so that both may be destroyed at the same moment on different
/// threads.
class QEL_API WeakPointerExtension {
public:
    /// Starts with the one reference that the object holds.
    WeakPointerExtension() = default;
    WeakPointerExtension(const WeakPointerExtension&) = delete;
    WeakPointerExtension& operator=(const WeakPointerExtension&) = delete;

    /// Appends @p pointer. @threads any thread.
    void add(WeakPointerBase& pointer);
    /// Removes @p pointer from the list if it is still on it. @threads any thread.
    void remove(WeakPointerBase& pointer);
    /// Clears every pointer, the last one first, and notifies its owner outside the lock. Owners may change
    /// or destroy other pointers of the list.
    void removeWeakPointers();
    /// Releases one reference; releasing the last one frees the list.
    void release();

protected:
    ~WeakPointerExtension() = default;

private:
    void unlinkLocked(WeakPointerBase& pointer) QEL_REQUIRES(m_mutex);

    Mutex m_mutex;
    WeakPointerBase* m_first QEL_GUARDED_BY(m_mutex) = nullptr;
    WeakPointerBase* m_last QEL_GUARDED_BY(m_mutex) = nullptr;
    std::atomic<int32> m_referenceCount{1};
};

/// A pointer to a @p T derived from Object that becomes null when the object dies. Copies register
/// themselves; the owner is not copied.
template <typename T>
class WeakPointer : public WeakPointerBase {
public:
    /// Creates a null pointer.
    WeakPointer() = default;
    /// Refers to @p object, which may be null.
    WeakPointer(T* object) : WeakPointerBase(object) { registerObject(); }
    /// Refers to the object that @p pointer holds.
    WeakPointer(const SmartPointer<T>& pointer) : WeakPointer(pointer.get()) {}
    /// Refers to the same object.
    WeakPointer(const WeakPointer& other) : WeakPointer(other.get()) {}

    /// Changes the target to that of @p other and keeps its own owner.
    WeakPointer& operator=(const WeakPointer& other) { return *this = other.get(); }
    /// Changes the target to @p object.
    WeakPointer& operator=(T* object) {
        switchTo(object);
        return *this;
    }
    /// Changes the target to the object that @p pointer holds.
    WeakPointer& operator=(const SmartPointer<T>& pointer) { return *this = pointer.get(); }
    /// Becomes null.
    WeakPointer& operator=(std::nullptr_t) { return *this = static_cast<T*>(nullptr); }

    /// Returns the object, or null if it has died.
    T* get() const { return static_cast<T*>(getObject()); }
    /// Returns a reference to the object. @threads the thread that releases the object.
    SmartPointer<T> lock() const { return SmartPointer<T>(get()); }
    /// Accesses the object, which must be alive.
    T* operator->() const { return get(); }
    /// Accesses the object, which must be alive.
    T& operator*() const { return *get(); }
    /// Returns whether the object is alive.
    explicit operator bool() const { return getObject() != nullptr; }
    /// Returns whether this refers to @p object.
    bool operator==(const T* object) const { return get() == object; }
};

} // namespace qel
