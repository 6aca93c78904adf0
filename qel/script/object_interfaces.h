// Views of an Object as a table, an array, a closure or an instance.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/containers.h>
#include <qel/script/functor.h>
#include <qel/script/object.h>

namespace qelSq {

/// Base class of all views. A view points at an Object, which must outlive it. On a value of another type its
/// operations do nothing and return null, empty or false.
/// @threads main thread.
class QEL_API Interface {
public:
    /// Views @p object.
    explicit Interface(Object* object) : m_object(object) {}
    /// Returns the value of a slot, found by the same rules as in a script; null if the slot does not exist.
    Object get(const char* key) const { return m_object->get(key); }
    /// Returns the value of a slot, without delegates and metamethods; null if the slot does not exist.
    Object rawget(const char* key) const { return m_object->rawget(key); }
    /// Stores @p value in the slot @p key, which is created if it does not exist.
    /// @return true if it could be stored.
    bool set(const char* key, const Object& value, bool isStatic = false) {
        return m_object->set(key, value, isStatic);
    }
    /// Returns the viewed object.
    Object* obj() const { return m_object; }

private:
    Object* m_object;
};

/// A view of an Object as a table; it also adds members to a class.
class QEL_API TableInterface : public Interface {
public:
    using Interface::Interface;
    /// Returns all slots as pairs of key and value, in no particular order.
    qel::List<qel::Pair<Object, Object>> getKeyValuePairs() const;
    /// Installs a native function under @p name; see the constructors of Object for @p data.
    /// @return this view, for chained calls.
    TableInterface& squirrelFunction(const char* name, SQFUNCTION function, const void* data = nullptr,
                                     size_t size = 0);
};

/// A view of an Object as an array.
class QEL_API ArrayInterface : public Interface {
public:
    using Interface::Interface;
    /// Adds @p value at the end.
    bool append(const Object& value);
    /// Returns the elements in order.
    qel::Vector<Object> getValues() const;
    /// Inserts @p value before the element at @p index.
    bool insert(SQInteger index, const Object& value);
    /// Removes and returns the last element; null for an empty array.
    Object pop();
    /// Removes the element at @p index.
    bool remove(SQInteger index);
    /// Shortens the array, or extends it with nulls.
    /// @param size  number of elements; a negative one changes nothing and returns false.
    bool resize(SQInteger size);
    /// Reverses the order of the elements.
    bool reverse();
};

/// A view of an Object as a closure.
class QEL_API ClosureInterface : public Interface {
public:
    using Interface::Interface;
    /// Replaces the content of @p buffer with the closure's serialised bytecode.
    /// @errors returns false and logs a warning for native closures and for closures over variables, which
    /// cannot be serialised.
    bool getBytecode(qel::Buffer& buffer) const;
    /// Returns the closure with @p receiver as its `this`.
    Functor getFunctorOn(const Object& receiver) const;
    /// Returns the closure with the root table as its `this`.
    Functor getFunctorOnRoot() const;
};

/// A view of an Object as an instance of a class.
class QEL_API InstanceInterface : public Interface {
public:
    using Interface::Interface;
    /// Returns the class of the instance; null for anything else.
    Object getClass() const;
    /// Returns the native pointer that the instance of a bound class stores: the value of a value class, or
    /// the qel::Object of a reference-counted class. Null for anything else.
    void* getNativeVoidPointer() const;
};

} // namespace qelSq
