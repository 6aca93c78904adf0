// NativeClass: the script class of a native type, and the instances of it that scripts hold.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/script/vm_control.h>

#include <concepts>
#include <type_traits>

namespace qelSq {

/// What scripts may do with a native type. The general form asks the type itself; a specialisation serves
/// types that know nothing of scripts.
template <typename T>
struct ScriptClass {
    /// Whether scripts can make an instance.
    static constexpr bool kConstructible = std::is_default_constructible_v<T>;
    /// Whether scripts can clone an instance.
    static constexpr bool kCopyable = std::is_copy_constructible_v<T>;
    /// Name of the script class.
    static const char* name() { return T::getStaticClassName(); }
    /// Fills the script class.
    static void bind(Object* cls) { T::bindSqVM(cls); }
};

/// A type whose script instances share the native object by references.
template <typename T>
concept ReferenceCountedClass = std::derived_from<T, qel::Object>;

/// A type of which each script instance holds a copy of its own.
template <typename T>
concept ValueClass = std::is_class_v<T> && !ReferenceCountedClass<T> && std::is_copy_constructible_v<T> &&
                     std::is_copy_assignable_v<T> && std::is_default_constructible_v<T> && requires {
    ScriptClass<T>::name();
};

namespace internal {

/// Its address marks the script class of T.
template <typename T>
inline QEL_API char g_typeTag = 0;

/// Gives the class of @p data, which is made and filled if it is missing.
struct ClassRecipe {
    const std::type_info* type;
    SQUserPointer typeTag;
    bool referenceCounted;
    SQFUNCTION constructor;
    SQFUNCTION cloned;
    const char* name;
    void (*bind)(Object* cls);
};

/// The class that @p recipe describes, bound on first use. Lasts as long as the machine.
QEL_API const Object& classOf(SQVM* vm, const ClassRecipe& recipe);
/// Pushes an instance that holds @p pointer. @param hook  releases it; null for one that isn't owned.
QEL_API void pushInstance(SQVM* vm, const Object& cls, SQUserPointer pointer, SQRELEASEHOOK hook);
/// The object of an instance of any reference-counted class, else null.
QEL_API qel::Object* referenceCountedAt(SQVM* vm, SQInteger index);
/// Constructor of a class that scripts can't make.
QEL_API SQInteger refuseConstructor(SQVM* vm);
/// Clone function of a class that scripts can neither make nor clone.
QEL_API SQInteger refuseClone(SQVM* vm);
/// Clone function of a class that scripts can make but not clone.
QEL_API SQInteger refuseCopy(SQVM* vm);
/// Raises the error of a receiver without native side.
QEL_API SQInteger raiseNoReceiver(SQVM* vm);
/// Raises the error of a clone whose source has no native side.
QEL_API SQInteger raiseNoSource(SQVM* vm, bool referenceCounted);
/// Release hook of reference-counted instances.
QEL_API SQInteger releaseReference(SQUserPointer pointer, SQInteger size);

} // namespace internal

/// The script class of T, in the machine that a handle belongs to.
/// @threads main thread.
template <typename T>
class NativeClass {
    using Traits = ScriptClass<T>;
    static constexpr bool kCounted = ReferenceCountedClass<T>;

public:
    /// The script class; bound when it is first asked for.
    static const Object& get(SQVM* vm) {
        return internal::classOf(
            vm, {&typeid(T), typeTag(), kCounted, constructor(), cloner(), Traits::name(), &Traits::bind});
    }

    /// Pushes an instance that holds a copy of @p value.
    static void push(SQVM* vm, const T& value) requires(!kCounted) {
        internal::pushInstance(vm, get(vm), new T(value), &deleteValue);
    }

    /// Pushes an instance that holds a reference of @p object; null pushes null.
    static void push(SQVM* vm, T* object) requires kCounted {
        if (!object) return sq_pushnull(vm);
        object->increaseReferenceCount();
        internal::pushInstance(vm, get(vm), static_cast<qel::Object*>(object), &internal::releaseReference);
    }

    /// Pushes an instance that knows @p object, which must outlive the machine, but does not own it.
    static void pushUnowned(SQVM* vm, T* object) {
        if constexpr (kCounted) {
            internal::pushInstance(vm, get(vm), static_cast<qel::Object*>(object), nullptr);
        } else {
            internal::pushInstance(vm, get(vm), object, nullptr);
        }
    }

    /// The native side of the instance at @p index of the stack; null when it has none, or is none of T.
    static T* at(SQVM* vm, SQInteger index) {
        SQUserPointer pointer = nullptr;
        if (SQ_SUCCEEDED(sq_getinstanceup(vm, index, &pointer, typeTag()))) return fromPointer(pointer);
        if constexpr (kCounted) {
            return dynamic_cast<T*>(internal::referenceCountedAt(vm, index));
        } else {
            return nullptr;
        }
    }

private:
    // An instance that has its native side already, because a script called the constructor or the clone
    // function by hand, gets a value assigned in place and keeps an object: a native function further up the
    // stack may be using either.
    static constexpr SQUserPointer typeTag() { return &internal::g_typeTag<T>; }

    static constexpr SQFUNCTION constructor() {
        if constexpr (Traits::kConstructible) return &construct;
        return &internal::refuseConstructor;
    }

    static constexpr SQFUNCTION cloner() {
        if constexpr (Traits::kCopyable) return &cloned;
        return Traits::kConstructible ? &internal::refuseCopy : &internal::refuseClone;
    }

    static T* fromPointer(SQUserPointer pointer) {
        if constexpr (kCounted) {
            return static_cast<T*>(static_cast<qel::Object*>(pointer));
        } else {
            return static_cast<T*>(pointer);
        }
    }

    static SQInteger deleteValue(SQUserPointer pointer, SQInteger) {
        delete static_cast<T*>(pointer);
        return 0;
    }

    static SQInteger construct(SQVM* vm) {
        SQUserPointer present = nullptr;
        if (SQ_FAILED(sq_getinstanceup(vm, 1, &present, typeTag()))) return internal::raiseNoReceiver(vm);
        if (!present) {
            install(vm, new T);
        } else if constexpr (!kCounted) {
            *fromPointer(present) = T();
        }
        return 0;
    }

    static SQInteger cloned(SQVM* vm) {
        SQUserPointer present = nullptr;
        const T* source = sq_gettop(vm) == 2 ? at(vm, 2) : nullptr;
        if (!source || SQ_FAILED(sq_getinstanceup(vm, 1, &present, typeTag()))) {
            return internal::raiseNoSource(vm, kCounted);
        }
        if (!present) {
            install(vm, new T(*source));
        } else if constexpr (!kCounted) {
            *fromPointer(present) = *source;
        }
        return 0;
    }

    static void install(SQVM* vm, T* made) {
        if constexpr (kCounted) {
            made->increaseReferenceCount();
            sq_setinstanceup(vm, 1, static_cast<qel::Object*>(made));
            sq_setreleasehook(vm, 1, &internal::releaseReference);
        } else {
            sq_setinstanceup(vm, 1, made);
            sq_setreleasehook(vm, 1, &deleteValue);
        }
    }
};

} // namespace qelSq
