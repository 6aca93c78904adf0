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

/// The System of the process; null before System::initialize and after System::deinitialize.
extern QEL_API System* g_system;

} // namespace internal

/// Root of the class tree: an intrusive reference count, weak pointers that cost one null pointer until the
/// first is taken, a class name and a class chain.
///
/// An object starts with count 0. Once a SmartPointer holds it, the release that brings the count back to 0
/// deletes it; an object that was never held is deleted by its creator. Any thread may take and release
/// references.
class QEL_API Object {
public:
    /// Starts with no references and no weak pointers.
    Object() = default;
    /// A copy starts like a new object: neither the count nor weak pointers are copied.
    Object(const Object&) : Object() {}
    /// Leaves the count and the weak pointers of both sides as they are.
    Object& operator=(const Object&) { return *this; }

    /// Returns the bare name of the object's own class, without namespace or enclosing class.
    virtual const char* getDynamicClassName() const;
    /// Returns the names from "Object" down to the object's own class; the remaining entries are null.
    virtual ClassChain getDynamicClassChain() const;
    /// Clears the weak pointers to this object, the last one registered first, and notifies their owners.
    virtual ~Object();

    /// Returns the bare name of this class, "Object".
    static const char* getStaticClassName() { return "Object"; }
    /// Returns the chain of this class, "Object" alone.
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
    /// Returns the number of references; another thread may change it at any time.
    int getReferenceCount() const { return m_referenceCount.load(); }

    /// Hands one reference of the caller to the main thread, which releases it in the next pass of
    /// System::processEvents. @threads any thread.
    void decreaseReferenceCountAsyncOnMain();
    /// Hands one reference of the caller to a worker of the global parallel queue.
    /// Defined in system/tasks/object_async_release.cpp. @threads any thread; System must exist.
    void decreaseReferenceCountAsyncOnParallel();
    /// Keeps the object alive until the main loop next releases its timed references, even if all other
    /// references are released. @threads any thread.
    void takeTimedReference();
    /// Adds a reference for good, so that no SmartPointer ever deletes the object: for objects on the stack
    /// or inside another object.
    void disableSmartPointers() { increaseReferenceCount(); }

    /// Clears all weak pointers to this object now. A class whose destructor takes it apart calls this first,
    /// so that nobody reaches a half-dead object.
    void removeWeakPointers();

    /// Registers @p object under @p name, replacing any earlier object; null erases the entry.
    /// The old object loses its reference under the registry's mutex: the destructor of a singleton must not
    /// call the singleton functions.
    /// @owner the registry holds a reference. @return @p object. @threads any thread.
    static Object* setSingleton(const char* name, Object* object);
    /// Returns the object registered under @p name, or null, without adding a reference. @threads any thread.
    static Object* getSingletonObject(const char* name);
    /// Empties the registry; the objects lose their references under its mutex. @threads any thread.
    static void discardSingletons();

    /// Returns the System, or null if none exists. Defined in system/core/system.cpp.
    static System* system();
    /// Returns the host's Application, which is created on first use. Defined in system/core/system.cpp.
    static Application* application();

    /// Returns the text for @p key in the current language, or "NOTR:" and the key. The pointer is valid
    /// until clearTrCache(). Defined in foundation/locale/translation.cpp. @threads any thread.
    static const char* tr(const char* key);
    /// As tr(key), but returns @p fallback if there is no translation.
    static const char* tr(const char* key, const char* fallback);
    /// Returns the text for @p key in @p language, or "NOTR:" and the key; not cached.
    static String tr_l(const char* language, const char* key);
    /// As tr_l(language, key), but returns @p fallback (null: empty) if there is no translation.
    static String tr_l(const char* language, const char* key, const char* fallback);
    /// Discards all cached translations; pointers returned by tr() become invalid. @threads any thread.
    static void clearTrCache();
    /// Returns whether @p key has a translation in the current language. @threads any thread.
    static bool isTrValid(const char* key);

    /// Adds the members of every reference-counted class to the script class @p cls. Defined in
    /// script/object_binding.cpp.
    static void bindSqVM(qelSq::Object* cls);

protected:
    /// Writes "Object" at @p index of @p chain. @return the next free index.
    static int fillClassChain(ClassChain& chain, int index);
    /// Creates the list of weak pointers if it does not exist yet. @threads any thread, also several at once.
    void createWeakPointerExtension();

private:
    friend class WeakPointerBase;

    std::atomic<WeakPointerExtension*> m_weak{nullptr};
    std::atomic<int32> m_referenceCount{0};
};

} // namespace qel
