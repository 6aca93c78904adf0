// Object: the reference-counted root of nearly every class.
#pragma once

#include <qel/foundation/base/class_name.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <atomic>

namespace qelSq {
class Object;
}

namespace qel {

class Application;
class String;
class System;
class WeakPointerBase;
class WeakPointerExtension;

namespace internal {

/// The one System; null before System::initialize and after System::deinitialize.
extern QEL_API System* g_system;

} // namespace internal

/// Root of the class tree: an intrusive reference count, weak pointers that cost one null pointer until the
/// first is taken, a class name and a class chain.
///
/// An object is born with count 0. Once a SmartPointer holds it, the release that brings the count back to 0
/// deletes it; an object never held is deleted by whoever made it. Any thread may take and release
/// references.
class QEL_API Object {
public:
    /// Starts with no references and no weak pointers.
    Object() = default;
    /// A copy starts like a new object: neither the count nor weak pointers are copied.
    Object(const Object&) : Object() {}
    /// Leaves the count and the weak pointers of both sides as they are.
    Object& operator=(const Object&) { return *this; }

    /// Bare name of the object's own class, without namespace or enclosing class.
    virtual const char* getDynamicClassName() const;
    /// Names from "Object" down to the object's own class; the rest of the entries are null.
    virtual ClassChain getDynamicClassChain() const;
    /// Clears the weak pointers to this object, the last one registered first, and tells their owners.
    virtual ~Object();

    /// Bare name of this class: "Object".
    static const char* getStaticClassName() { return "Object"; }
    /// The chain of this class: "Object".
    static ClassChain getStaticClassChain();

    /// Adds one reference. @threads any thread.
    void increaseReferenceCount() { m_referenceCount.fetch_add(1); }
    /// Adds @p n references. @threads any thread.
    void increaseReferenceCountBy(unsigned n) { m_referenceCount.fetch_add(static_cast<int32>(n)); }
    /// Releases one reference; the release that reaches 0 deletes the object on the calling thread.
    /// @threads any thread; the caller must own the reference.
    void decreaseReferenceCount() { decreaseReferenceCountBy(1); }
    /// Releases @p n references at once; deletes the object when there were exactly @p n.
    /// @threads any thread; the caller must own the references.
    void decreaseReferenceCountBy(unsigned n) {
        if (m_referenceCount.fetch_sub(static_cast<int32>(n)) == static_cast<int32>(n)) delete this;
    }
    /// References held at this moment; another thread may change it at once.
    int getReferenceCount() const { return m_referenceCount.load(); }

    /// Hands one reference of the caller's to the main thread, which releases it in the next pass of
    /// System::processEvents. @threads any thread.
    void decreaseReferenceCountAsyncOnMain();
    /// Hands one reference of the caller's to a worker of the global parallel queue.
    /// Defined in system/tasks/object_async_release.cpp. @threads any thread; System must exist.
    void decreaseReferenceCountAsyncOnParallel();
    /// Keeps the object alive until the main loop next releases its timed references, whatever else lets go
    /// of it. @threads any thread.
    void takeTimedReference();
    /// Adds a reference for good, so that no SmartPointer ever deletes the object: for objects on the stack
    /// or inside another object.
    void disableSmartPointers() { increaseReferenceCount(); }

    /// Clears all weak pointers to this object now. A class whose destructor takes it apart calls this first,
    /// so that nobody reaches a half-dead object.
    void removeWeakPointers();

    /// Registers @p object under @p name in place of what stood there; null erases the entry.
    /// The old object loses its reference under the registry's mutex: the destructor of a singleton must not
    /// call the singleton functions.
    /// @owner the registry holds a reference. @return @p object. @threads any thread.
    static Object* setSingleton(const char* name, Object* object);
    /// The object registered under @p name or null; no reference is added. @threads any thread.
    static Object* getSingletonObject(const char* name);
    /// Empties the registry; the objects lose their references under its mutex. @threads any thread.
    static void discardSingletons();

    /// The one System, null when there is none. Defined in system/core/system.cpp.
    static System* system();
    /// The host's Application, made on first use. Defined in system/core/system.cpp.
    static Application* application();

    /// Text for @p key in the current language, "NOTR:" and the key when there is none. The pointer is valid
    /// until clearTrCache(). Defined in foundation/locale/translation.cpp. @threads any thread.
    static const char* tr(const char* key);
    /// As tr(key), but gives @p fallback when there is no translation.
    static const char* tr(const char* key, const char* fallback);
    /// Text for @p key in @p language, "NOTR:" and the key when there is none; not cached.
    static String tr_l(const char* language, const char* key);
    /// As tr_l(language, key), but gives @p fallback (null: empty) when there is no translation.
    static String tr_l(const char* language, const char* key, const char* fallback);
    /// Forgets all cached translations; pointers that tr() gave become invalid. @threads any thread.
    static void clearTrCache();
    /// Whether @p key has a translation in the current language. @threads any thread.
    static bool isTrValid(const char* key);

    /// Fills the script class @p cls with what every reference-counted class shares. Defined in
    /// script/object_binding.cpp.
    static void bindSqVM(qelSq::Object* cls);

protected:
    /// Writes "Object" at @p index of @p chain. @return the next free index.
    static int fillClassChain(ClassChain& chain, int index);
    /// Makes sure that the object can hold weak pointers. @threads any thread; several may race.
    void createWeakPointerExtension();

private:
    friend class WeakPointerBase;

    std::atomic<WeakPointerExtension*> m_weak{nullptr};
    std::atomic<int32> m_referenceCount{0};
};

} // namespace qel
