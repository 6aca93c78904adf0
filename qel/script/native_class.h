// NativeClass: the script class of a native type and its instances.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/script/vm_control.h>

#include <concepts>
#include <type_traits>

namespace qelSq {

/// Describes what scripts may do with a native type. The primary template asks the type itself; types that
/// know nothing about scripts need a specialisation.
template <typename T>
struct ScriptClass {
    /// True if scripts can create an instance.
    static constexpr bool kConstructible = std::is_default_constructible_v<T>;
    /// True if scripts can clone an instance.
    static constexpr bool kCopyable = std::is_copy_constructible_v<T>;
    /// Returns the name of the script class.
    static const char* name() { return T::getStaticClassName(); }
    /// Adds the members of the type to the script class @p cls.
    static void bind(Object* cls) { T::bindSqVM(cls); }
};

/// A type whose script instances share the native object by holding references to it.
template <typename T>
concept ReferenceCountedClass = std::derived_from<T, qel::Object>;

/// A type whose script instances each hold their own copy.
template <typename T>
concept ValueClass = std::is_class_v<T> && !ReferenceCountedClass<T> && std::is_copy_constructible_v<T> &&
                     std::is_copy_assignable_v<T> && std::is_default_constructible_v<T> && requires {
    ScriptClass<T>::name();
};

namespace internal {

/// The address of this variable is the type tag of the script class of T.
template <typename T>
inline QEL_API char g_typeTag = 0;

/// Everything that classOf() needs to create the script class of a native type.
struct ClassRecipe {
    const std::type_info* type;
    SQUserPointer typeTag;
    bool referenceCounted;
    SQFUNCTION constructor;
    SQFUNCTION cloned;
    const char* name;
    void (*bind)(Object* cls);
};

/// Returns the class that @p recipe describes and binds it on first use. The reference is valid as long as
/// the machine.
QEL_API const Object& classOf(SQVM* vm, const ClassRecipe& recipe);
/// Pushes an instance that holds @p pointer.
/// @param hook  releases the pointer; null if the instance does not own it.
QEL_API void pushInstance(SQVM* vm, const Object& cls, SQUserPointer pointer, SQRELEASEHOOK hook);
/// Returns the object held by the instance at @p index if its class is reference-counted, otherwise null.
QEL_API qel::Object* referenceCountedAt(SQVM* vm, SQInteger index);
/// Constructor of a class that scripts cannot instantiate.
QEL_API SQInteger refuseConstructor(SQVM* vm);
/// Clone function of a class that scripts can neither instantiate nor clone.
QEL_API SQInteger refuseClone(SQVM* vm);
/// Clone function of a class that scripts can instantiate but not clone.
QEL_API SQInteger refuseCopy(SQVM* vm);
/// Raises the error for a receiver that holds no native object.
QEL_API SQInteger raiseNoReceiver(SQVM* vm);
/// Raises the error for a clone whose source holds no native object.
QEL_API SQInteger raiseNoSource(SQVM* vm, bool referenceCounted);
/// Releases the reference that an instance of a reference-counted class holds.
QEL_API SQInteger releaseReference(SQUserPointer pointer, SQInteger size);

} // namespace internal

/// The script class of T in the machine to which a handle belongs.
/// @threads main thread.
template <typename T>
class NativeClass {
    using Traits = ScriptClass<T>;
    static constexpr bool kCounted = ReferenceCountedClass<T>;

public:
    /// Returns the script class and binds it on first use.
    static const Object& get(SQVM* vm) {
        return internal::classOf(
            vm, {&typeid(T), typeTag(), kCounted, constructor(), cloner(), Traits::name(), &Traits::bind});
    }

    /// Pushes an instance that holds a copy of @p value.
    static void push(SQVM* vm, const T& value) requires(!kCounted) {
        internal::pushInstance(vm, get(vm), new T(value), &deleteValue);
    }

    /// Pushes an instance that holds a reference to @p object, or null if @p object is null.
    static void push(SQVM* vm, T* object) requires kCounted {
        if (!object) return sq_pushnull(vm);
        object->increaseReferenceCount();
        internal::pushInstance(vm, get(vm), static_cast<qel::Object*>(object), &internal::releaseReference);
    }

    /// Pushes an instance that refers to @p object without owning it; the object must outlive the machine.
    static void pushUnowned(SQVM* vm, T* object) {
        if constexpr (kCounted) {
            internal::pushInstance(vm, get(vm), static_cast<qel::Object*>(object), nullptr);
        } else {
            internal::pushInstance(vm, get(vm), object, nullptr);
        }
    }

    /// Returns the native object of the instance at @p index of the stack; null for an
    /// instance of another class or without a native object.
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
    // A script that calls the constructor or the clone function by hand may pass an instance that already has
    // a native object. A value is then assigned in place, and a reference-counted object is kept, because a
    // native function further up the stack may be using it.
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
