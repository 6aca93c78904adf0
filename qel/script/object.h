// Object: a reference-counted handle to any value of the script machine.
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

/// The script machine to which all handles belong.
struct QEL_API Global {
    /// The only root machine of the process; null while none is open.
    static SQVM* squirrelVM;
    /// The number of machines opened so far, by which a handle detects that its own machine is closed.
    static qel::uint32 generation;
};

/// Selects the constructors of Object that create a closure.
enum class NewClosureType {
    Closure ///< the only value
};

/// Holds one value of the script machine: null, a number, a string, a table, a closure, an instance and so
/// on.
///
/// Copying adds a reference, destruction releases it, and a move leaves the count unchanged. A handle may
/// outlive the machine of its value: it then reads as null and its destruction does nothing.
/// @threads main thread.
class QEL_API Object {
public:
    /// Holds null.
    Object() { sq_resetobject(&m_handle); }
    /// Holds the value of @p handle and adds a reference to it.
    explicit Object(const HSQOBJECT& handle);
    /// Holds the value at @p index of the stack of @p vm; the value stays on the stack.
    Object(SQVM* vm, SQInteger index);
    /// Creates a closure from serialised bytecode. Bytecode is as trusted as native code, because the machine
    /// does not verify it: never pass bytes from an outside source.
    /// @errors are logged as a warning; the object then holds null.
    Object(NewClosureType, qel::ConstByteSpan bytecode);
    /// Creates a closure of a native function. If @p size is not 0, the function finds a userdata with a copy
    /// of the @p size bytes at @p data on top of its stack, after its arguments.
    Object(NewClosureType, SQFUNCTION function, const void* data = nullptr, size_t size = 0);
    /// Adds a reference.
    Object(const Object& other);
    /// Takes the value from @p other, which then holds null.
    Object(Object&& other) noexcept;
    /// Releases the value.
    ~Object() { release(); }
    /// Releases the value and takes the value of @p other.
    Object& operator=(Object other) noexcept {
        swap(other);
        return *this;
    }

    /// Creates a script value from a bool, an integer, a float or a string.
    static Object of(bool value);
    /// @copydoc of(bool)
    static Object of(SQInteger value);
    /// @copydoc of(bool)
    static Object of(int value) { return of(SQInteger{value}); }
    /// @copydoc of(bool)
    static Object of(SQFloat value);
    /// Creates a string; a null pointer yields the null value.
    static Object of(const char* value);
    /// @copydoc of(const char*)
    static Object of(const std::string& value);

    /// Creates an empty table; returns null while no machine is open.
    static Object newTable();

    /// Exchanges the values.
    void swap(Object& other) noexcept;
    /// Releases the value; the object then holds null.
    void reset() { *this = Object(); }
    /// Replaces the value with the topmost value of the stack of @p vm, and pops that.
    void popFromStackAddRef(SQVM* vm);
    /// Pushes the value onto the stack of @p vm.
    void push(SQVM* vm) const { sq_pushobject(vm, handle()); }
    /// Returns the value without adding a reference; the null value once its machine is closed.
    HSQOBJECT handle() const;

    /// Returns true if the value is null. The other type tests work alike.
    bool isNull() const { return type() == OT_NULL; }
    bool isBool() const { return type() == OT_BOOL; }           ///< a bool
    bool isInteger() const { return type() == OT_INTEGER; }     ///< an integer
    bool isFloat() const { return type() == OT_FLOAT; }         ///< a float
    bool isNumeric() const { return isInteger() || isFloat(); } ///< an integer or a float
    bool isString() const { return type() == OT_STRING; }       ///< a string
    bool isArray() const { return type() == OT_ARRAY; }         ///< an array
    bool isTable() const { return type() == OT_TABLE; }         ///< a table
    bool isClass() const { return type() == OT_CLASS; }         ///< a class
    bool isInstance() const { return type() == OT_INSTANCE; }   ///< an instance of a class
    /// Returns true for a closure of native code.
    bool isNativeClosure() const { return type() == OT_NATIVECLOSURE; }
    /// Returns true for a closure of script or native code.
    bool isClosure() const { return type() == OT_CLOSURE || isNativeClosure(); }
    /// Returns true for a class that AdapterData has bound.
    bool isNativeClass() const;
    /// Returns true for an instance of a bound class.
    bool isNativeInstance() const;
    /// Returns true for an instance of the bound class named "GUID".
    bool isGUID() const;
    /// Returns the value of an instance of "GUID"; the zero identifier for anything else. Defined in
    /// guid_binding.cpp.
    qel::GUID asGUID() const;
    /// Returns the name of a bound class; empty for anything else.
    qel::String getNativeClassName() const;

    /// Converts the value to a bool. A number is true if it is not zero (NaN counts as true); anything else
    /// but a bool is true if it is not null.
    bool asBool() const;
    /// Returns a number as an integer, with a float truncated towards zero; 0 for anything else.
    SQInteger asInteger() const;
    /// Returns a number as a float; 0 for anything else.
    SQFloat asFloat() const;
    /// Returns the content of a string; the empty string for anything else.
    qel::String asString() const;

    /// Returns a view as a table, which also serves a class or an instance. *this must outlive it.
    TableInterface asTable();
    /// Returns a view as an array. *this must outlive it.
    ArrayInterface asArray();
    /// Returns a view as a closure. *this must outlive it.
    ClosureInterface asClosure();
    /// Returns a view as an instance. *this must outlive it.
    InstanceInterface asInstance();

    /// Returns the value of a slot, found by the same rules as in a script; null if the slot does not exist.
    Object get(const Object& key) const { return Object(AdoptReference{}, getSlotAddRef(key)); }
    /// @copydoc get(const Object&) const
    Object get(const char* key) const { return get(of(key)); }
    /// Returns the value of a slot of this value itself, without delegates and metamethods; null if the slot
    /// does not exist.
    Object rawget(const Object& key) const { return Object(AdoptReference{}, rawgetSlotAddRef(key)); }
    /// @copydoc rawget(const Object&) const
    Object rawget(const char* key) const { return rawget(of(key)); }
    /// Does the same as get(), but the caller owns a reference to the result.
    HSQOBJECT getSlotAddRef(const Object& key) const;
    /// Does the same as rawget(), but the caller owns a reference to the result.
    HSQOBJECT rawgetSlotAddRef(const Object& key) const;
    /// Stores @p value in the slot @p key, which is created if it does not exist.
    /// @param isStatic  creates a static member of a class.
    /// @return false for anything but a table or a class that may still be changed.
    bool set(const Object& key, const Object& value, bool isStatic = false);
    /// @copydoc set(const Object&, const Object&, bool)
    bool set(const char* key, const Object& value, bool isStatic = false) {
        return set(of(key), value, isStatic);
    }
    /// Returns the number of elements of an array or table, or of bytes of a string or userdata; 0 for
    /// anything else.
    SQInteger getSize() const;

    /// Returns true if numbers, strings or bools are equal, or if both hold the same object.
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
