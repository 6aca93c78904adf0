// Object: a counted handle to any value of the script machine.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>
#include <qel/store/core/guid.h>

#include <squirrel.h>

namespace qelSq {

class ArrayInterface;
class ClosureInterface;
class InstanceInterface;
class TableInterface;

/// The script machine that handles work on.
struct QEL_API Global {
    /// The one root machine of the process; null while there is none.
    static SQVM* squirrelVM;
    /// Counts the machines that there have been, so that a handle knows whether its own is still the one.
    static qel::uint32 generation;
};

/// Chooses the constructors of Object that make a closure.
enum class NewClosureType {
    Closure ///< the only value
};

/// Holds one value of the script machine: a null, number, text, table, closure, instance...
///
/// A copy adds a reference, destruction releases it, a move counts nothing. A handle may outlive the machine
/// of its value: it then reads as null and its destruction does nothing.
/// @threads main thread.
class QEL_API Object {
public:
    /// Holds null.
    Object() { sq_resetobject(&m_handle); }
    /// Holds the value of @p handle, with a reference of its own.
    explicit Object(const HSQOBJECT& handle);
    /// Holds the value at @p index of the stack of @p vm, which stays there.
    Object(SQVM* vm, SQInteger index);
    /// Makes a closure from serialised bytecode. Bytecode is trusted like native code, since the machine does
    /// not verify it: never pass bytes that come from outside.
    /// @errors logged as a warning; the object holds null.
    Object(NewClosureType, qel::ConstByteSpan bytecode);
    /// Makes a closure of a native function. When @p size is not 0, a copy of the block of bytes is a
    /// userdata that the function finds on top of its stack, behind its arguments.
    Object(NewClosureType, SQFUNCTION function, const void* data = nullptr, size_t size = 0);
    /// Adds a reference.
    Object(const Object& other);
    /// Takes the value over; @p other holds null.
    Object(Object&& other) noexcept;
    /// Releases the value.
    ~Object() { release(); }
    /// Releases the value and takes over the other's.
    Object& operator=(Object other) noexcept {
        swap(other);
        return *this;
    }

    /// Makes a script value of a bool, a whole number, a float or a text.
    static Object of(bool value);
    /// @copydoc of(bool)
    static Object of(SQInteger value);
    /// @copydoc of(bool)
    static Object of(int value) { return of(SQInteger{value}); }
    /// @copydoc of(bool)
    static Object of(SQFloat value);
    /// A text; null gives the null value.
    static Object of(const char* value);
    /// @copydoc of(const char*)
    static Object of(const std::string& value);

    /// An empty table; null while there is no machine.
    static Object newTable();

    /// Exchanges the values.
    void swap(Object& other) noexcept;
    /// Releases the value and holds null.
    void reset() { *this = Object(); }
    /// Takes the topmost value of the stack of @p vm in place of the present one, and pops it.
    void popFromStackAddRef(SQVM* vm);
    /// Pushes the value onto the stack of @p vm.
    void push(SQVM* vm) const { sq_pushobject(vm, handle()); }
    /// The value without a reference; the null value once its machine is gone.
    HSQOBJECT handle() const;

    /// Type tests on the one tag of the value.
    bool isNull() const { return type() == OT_NULL; }
    bool isBool() const { return type() == OT_BOOL; }           ///< a bool
    bool isInteger() const { return type() == OT_INTEGER; }     ///< a whole number
    bool isFloat() const { return type() == OT_FLOAT; }         ///< a float
    bool isNumeric() const { return isInteger() || isFloat(); } ///< integer or float
    bool isString() const { return type() == OT_STRING; }       ///< a text
    bool isArray() const { return type() == OT_ARRAY; }         ///< an array
    bool isTable() const { return type() == OT_TABLE; }         ///< a table
    bool isClass() const { return type() == OT_CLASS; }         ///< a class
    bool isInstance() const { return type() == OT_INSTANCE; }   ///< an instance of a class
    /// A native closure.
    bool isNativeClosure() const { return type() == OT_NATIVECLOSURE; }
    /// A closure of script or native code.
    bool isClosure() const { return type() == OT_CLOSURE || isNativeClosure(); }
    /// A class that was bound by AdapterData.
    bool isNativeClass() const;
    /// An instance of such a class.
    bool isNativeInstance() const;
    /// An instance of the bound class named "GUID".
    bool isGUID() const;
    /// The value of such an instance; the zero identifier for anything else. Defined in guid_binding.cpp.
    qel::GUID asGUID() const;
    /// The name of a bound class; empty for anything else.
    qel::String getNativeClassName() const;

    /// A bool is its value, a number is true when not zero (a NaN too), anything else when not null.
    bool asBool() const;
    /// A number as an integer, a float cut towards zero; 0 for anything else.
    SQInteger asInteger() const;
    /// A number as a float; 0 for anything else.
    SQFloat asFloat() const;
    /// The text of a string; empty for anything else.
    qel::String asString() const;

    /// View as a table (or class, or instance: anything with slots); *this must outlive it.
    TableInterface asTable();
    /// View as an array; *this must outlive it.
    ArrayInterface asArray();
    /// View as a closure; *this must outlive it.
    ClosureInterface asClosure();
    /// View as an instance; *this must outlive it.
    InstanceInterface asInstance();

    /// The value of a slot, found as a script finds it; null when there is none.
    Object get(const Object& key) const { return Object(AdoptReference{}, getSlotAddRef(key)); }
    /// @copydoc get(const Object&) const
    Object get(const char* key) const { return get(of(key)); }
    /// The value of a slot of this very value, without delegates and metamethods; null when there is none.
    Object rawget(const Object& key) const { return Object(AdoptReference{}, rawgetSlotAddRef(key)); }
    /// @copydoc rawget(const Object&) const
    Object rawget(const char* key) const { return rawget(of(key)); }
    /// As get(); the caller owns a reference of the result.
    HSQOBJECT getSlotAddRef(const Object& key) const;
    /// As rawget(); the caller owns a reference of the result.
    HSQOBJECT rawgetSlotAddRef(const Object& key) const;
    /// Stores @p value in the slot @p key, which is made when missing.
    /// @param isStatic  makes a static member of a class.
    /// @return false for anything but a table or a class that may still change.
    bool set(const Object& key, const Object& value, bool isStatic = false);
    /// @copydoc set(const Object&, const Object&, bool)
    bool set(const char* key, const Object& value, bool isStatic = false) {
        return set(of(key), value, isStatic);
    }
    /// Elements of an array or table, bytes of a string or userdata; 0 for anything else.
    SQInteger getSize() const;

    /// The same value: equal numbers, texts and bools, else the same object.
    friend bool operator==(const Object& a, const Object& b) { return a.equals(b); }

private:
    struct AdoptReference {};
    Object(AdoptReference, const HSQOBJECT& handle) : m_handle(handle), m_generation(Global::generation) {}

    bool isAlive() const { return m_generation == Global::generation && Global::squirrelVM; }
    SQObjectType type() const { return handle()._type; }
    bool equals(const Object& other) const;
    HSQOBJECT lookUp(const Object& key, SQRESULT (*get)(HSQUIRRELVM, SQInteger)) const;
    void release();

    HSQOBJECT m_handle;
    qel::uint32 m_generation = Global::generation;
};

} // namespace qelSq
