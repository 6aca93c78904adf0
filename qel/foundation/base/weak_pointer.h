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

/// What a class inherits to hear of the death of a weak pointer's target.
class QEL_API PointerOwner {
public:
    virtual ~PointerOwner();
    /// The target of a weak pointer has died; the pointer is null by now.
    /// @param ownerData  what was given to WeakPointerBase::setOwner.
    /// @threads the thread on which the target dies; no lock is held.
    virtual void onWeakPointerCleared(void* ownerData) = 0;
};

/// The untyped part of a weak pointer: the target, and whom to tell when it dies.
///
/// A weak pointer does not keep its target alive, so its target is to be read on the thread that releases it,
/// in practice the main thread. Registering, unregistering and the death of the target may race freely.
class QEL_API WeakPointerBase {
public:
    /// Refers to @p object without being registered with it.
    explicit WeakPointerBase(Object* object = nullptr) : m_object(object) {}
    WeakPointerBase(const WeakPointerBase&) = delete;
    WeakPointerBase& operator=(const WeakPointerBase&) = delete;

    /// @p owner hears of the target's death, with null data; null: nobody does.
    void setOwner(PointerOwner* owner) { setOwner(owner, nullptr); }
    /// @p owner hears of the target's death and gets @p ownerData back.
    void setOwner(PointerOwner* owner, void* ownerData) {
        m_owner = owner;
        m_ownerData = ownerData;
    }

protected:
    ~WeakPointerBase() { unregisterObject(); }

    /// Enters the pointer behind all others of its target; a null target is ignored.
    void registerObject();
    /// Takes the pointer off its target's list; the target stays readable.
    void unregisterObject();
    /// Refers to @p object from now on and registers with it.
    void switchTo(Object* object);
    /// The target, null when it has died.
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

/// The list of weak pointers to one object, made when the first is registered. It lives as long as the object
/// or a pointer registered with it, so that both may go at the same moment on different threads.
class QEL_API WeakPointerExtension {
public:
    /// Made with the one reference that the object holds.
    WeakPointerExtension() = default;
    WeakPointerExtension(const WeakPointerExtension&) = delete;
    WeakPointerExtension& operator=(const WeakPointerExtension&) = delete;

    /// Appends @p pointer. @threads any thread.
    void add(WeakPointerBase& pointer);
    /// Takes @p pointer off the list if it still is on it. @threads any thread.
    void remove(WeakPointerBase& pointer);
    /// Clears every pointer, the last one first, and tells its owner outside the lock. Owners may do what
    /// they like to other pointers of the list.
    void removeWeakPointers();
    /// Lets go of one reference; the last one frees the list.
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
/// themselves; an owner is not copied along.
template <typename T>
class WeakPointer : public WeakPointerBase {
public:
    /// Null.
    WeakPointer() = default;
    /// Refers to @p object, which may be null.
    WeakPointer(T* object) : WeakPointerBase(object) { registerObject(); }
    /// Refers to the object that @p pointer holds.
    WeakPointer(const SmartPointer<T>& pointer) : WeakPointer(pointer.get()) {}
    /// Refers to the same object.
    WeakPointer(const WeakPointer& other) : WeakPointer(other.get()) {}

    /// Refers to the same object as @p other from now on; the own owner stays.
    WeakPointer& operator=(const WeakPointer& other) { return *this = other.get(); }
    /// Refers to @p object from now on.
    WeakPointer& operator=(T* object) {
        switchTo(object);
        return *this;
    }
    /// Refers to the object that @p pointer holds from now on.
    WeakPointer& operator=(const SmartPointer<T>& pointer) { return *this = pointer.get(); }
    /// Becomes null.
    WeakPointer& operator=(std::nullptr_t) { return *this = static_cast<T*>(nullptr); }

    /// The object, null when it has died.
    T* get() const { return static_cast<T*>(getObject()); }
    /// A reference to the object; to be taken on the thread that releases it.
    SmartPointer<T> lock() const { return SmartPointer<T>(get()); }
    /// Access to the object, which must be alive.
    T* operator->() const { return get(); }
    /// Access to the object, which must be alive.
    T& operator*() const { return *get(); }
    /// Whether the object is alive.
    explicit operator bool() const { return getObject() != nullptr; }
    /// Whether this refers to @p object.
    bool operator==(const T* object) const { return get() == object; }
};

} // namespace qel
