// ClassBinder: adds the members of a native type to a script class.
#pragma once

#include <qel/script/native_call.h>
#include <qel/script/object_interfaces.h>

namespace qelSq {

/// Binds the members of a native type. A bindSqVM() is written with it:
/// @code
/// void Counter::bindSqVM(qelSq::Object* cls) {
///     Object::bindSqVM(cls);
///     qelSq::ClassBinder<Counter>(cls)
///         .staticFunction<&Counter::getStaticClassName>("getClassName")
///         .method<&Counter::increase>("increase")
///         .property<&Counter::step>("step");
/// }
/// @endcode
/// The function is a compile-time constant of its trampoline, so that a call needs no lookup. A static_cast
/// selects an overload; a function that needs adapting is bound as a free function whose first parameter is a
/// `T&`. When a name is bound twice, the later function replaces the earlier one.
/// @threads main thread.
template <typename T>
class ClassBinder {
public:
    /// Adds members to @p cls, which must outlive the binder.
    explicit ClassBinder(Object* cls) : m_class(cls) {}

    /// Binds a static or free function.
    template <auto F>
    ClassBinder& staticFunction(const char* name) {
        return native(name, &callStatic<F>, true);
    }

    /// Binds a method.
    template <auto F>
    ClassBinder& method(const char* name) {
        return native(name, &callMethod<T, F>, false);
    }

    /// Binds a data member as a property that can be read and written.
    template <auto M>
    ClassBinder& property(const char* name) {
        addAccessor("__qel_setTable", name, &callSetter<T, M>);
        return getter<M>(name);
    }

    /// Binds a data member or a function without parameters as a read-only property.
    template <auto M>
    ClassBinder& getter(const char* name) {
        return accessor(name, &callGetter<T, M>);
    }

    /// Binds a getter that accesses the machine's stack directly; the instance is at index 1.
    ClassBinder& accessor(const char* name, SQFUNCTION function) {
        addAccessor("__qel_getTable", name, function);
        return *this;
    }

    /// Binds a function that accesses the machine's stack directly.
    ClassBinder& native(const char* name, SQFUNCTION function, bool isStatic) {
        m_class.set(name, Object(NewClosureType::Closure, function), isStatic);
        return *this;
    }

private:
    void addAccessor(const char* table, const char* name, SQFUNCTION function) {
        Object accessors = m_class.rawget(table);
        accessors.asTable().squirrelFunction(name, function);
    }

    TableInterface m_class;
};

} // namespace qelSq
