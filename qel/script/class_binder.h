// ClassBinder: fills a script class with the members of a native type.
#pragma once

#include <qel/script/native_call.h>
#include <qel/script/object_interfaces.h>

namespace qelSq {

/// What a bindSqVM() is written with:
/// @code
/// void Counter::bindSqVM(qelSq::Object* cls) {
///     Object::bindSqVM(cls);
///     qelSq::ClassBinder<Counter>(cls)
///         .staticFunction<&Counter::getStaticClassName>("getClassName")
///         .method<&Counter::increase>("increase")
///         .property<&Counter::step>("step");
/// }
/// @endcode
/// The function is a compile-time constant of its trampoline, so that a call looks nothing up. An overloaded
/// function is chosen by a static_cast; a function that needs adapting is bound as a free function with a
/// `T&` in front. A name bound twice keeps the later function.
/// @threads main thread.
template <typename T>
class ClassBinder {
public:
    /// Fills @p cls, which must outlive the binder.
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

    /// Binds a data member, to be read and written.
    template <auto M>
    ClassBinder& property(const char* name) {
        addAccessor("__qel_setTable", name, &callSetter<T, M>);
        return getter<M>(name);
    }

    /// Binds a data member or a function without parameters, to be read as a property.
    template <auto M>
    ClassBinder& getter(const char* name) {
        return accessor(name, &callGetter<T, M>);
    }

    /// Binds a getter that works on the stack of the machine itself; the instance is at index 1.
    ClassBinder& accessor(const char* name, SQFUNCTION function) {
        addAccessor("__qel_getTable", name, function);
        return *this;
    }

    /// Binds a function that works on the stack of the machine itself.
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
