// Views of an Object as a table, an array, a closure or an instance.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/containers.h>
#include <qel/script/functor.h>
#include <qel/script/object.h>

namespace qelSq {

/// What all views share. A view points at an Object, which must outlive it; on a value of another type its
/// operations do nothing and give null, empty or false.
/// @threads main thread.
class QEL_API Interface {
public:
    /// Views @p object.
    explicit Interface(Object* object) : m_object(object) {}
    /// The value of a slot, found as a script finds it; null when there is none.
    Object get(const char* key) const { return m_object->get(key); }
    /// The value of a slot, without delegates and metamethods; null when there is none.
    Object rawget(const char* key) const { return m_object->rawget(key); }
    /// Stores @p value in the slot @p key, which is made when missing. @return whether it could be stored.
    bool set(const char* key, const Object& value, bool isStatic = false) {
        return m_object->set(key, value, isStatic);
    }
    /// The viewed object.
    Object* obj() const { return m_object; }

private:
    Object* m_object;
};

/// An Object seen as a table; a class is filled through it, too.
class QEL_API TableInterface : public Interface {
public:
    using Interface::Interface;
    /// All slots as pairs of key and value, in no particular order.
    qel::List<qel::Pair<Object, Object>> getKeyValuePairs() const;
    /// Installs a native function under @p name; see Object for the block of bytes.
    /// @return this view, for chained calls.
    TableInterface& squirrelFunction(const char* name, SQFUNCTION function, const void* data = nullptr,
                                     size_t size = 0);
};

/// An Object seen as an array.
class QEL_API ArrayInterface : public Interface {
public:
    using Interface::Interface;
    /// Adds @p value at the end.
    bool append(const Object& value);
    /// The elements in order.
    qel::Vector<Object> getValues() const;
    /// Puts @p value before the element at @p index.
    bool insert(SQInteger index, const Object& value);
    /// Takes the last element off and gives it; null for an empty array.
    Object pop();
    /// Removes the element at @p index.
    bool remove(SQInteger index);
    /// Cuts the array or fills it up with nulls. @param size  elements; false when negative.
    bool resize(SQInteger size);
    /// Turns the order round.
    bool reverse();
};

/// An Object seen as a closure.
class QEL_API ClosureInterface : public Interface {
public:
    using Interface::Interface;
    /// Replaces the content of @p buffer by the closure's serialised bytecode.
    /// @errors false and a warning for what can't be serialised: native closures, closures over variables.
    bool getBytecode(qel::Buffer& buffer) const;
    /// The closure with @p receiver as its `this`.
    Functor getFunctorOn(const Object& receiver) const;
    /// The closure with the root table as its `this`.
    Functor getFunctorOnRoot() const;
};

/// An Object seen as an instance of a class.
class QEL_API InstanceInterface : public Interface {
public:
    using Interface::Interface;
    /// The class of the instance; null for anything else.
    Object getClass() const;
    /// What the instance of a bound class stores as its native pointer: the value of a value class, the
    /// qel::Object of a reference-counted one. Null for anything else.
    void* getNativeVoidPointer() const;
};

} // namespace qelSq
