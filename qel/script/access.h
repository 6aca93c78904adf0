// Access converts the arguments of a native function; pushResult converts its result.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/string_id.h>
#include <qel/script/native_class.h>
#include <qel/script/object.h>

#include <concepts>
#include <string_view>
#include <type_traits>

namespace qelSq {

/// Converts the value at an index of a native function's stack to a parameter of type T. No conversion raises
/// an error: every value converts to a string, and a value that is not a number converts to 0.
/// @threads main thread; valid while the native function runs.
template <typename T>
class Access;

/// An integer. A float is truncated towards zero; a value wider than T keeps its low bits.
template <std::integral T>
requires(!std::same_as<T, bool>) class Access<T> {
public:
    /// Converts the value at @p index.
    Access(SQVM* vm, SQInteger index) {
        SQInteger value = 0;
        sq_getinteger(vm, index, &value);
        m_value = static_cast<T>(value);
    }
    /// Returns the converted parameter.
    T value() const { return m_value; }

private:
    T m_value;
};

/// An enumeration value, converted from its number.
template <typename T>
requires std::is_enum_v<T>
class Access<T> : public Access<std::underlying_type_t<T>> {
public:
    using Access<std::underlying_type_t<T>>::Access;
    /// Returns the converted parameter.
    T value() const { return static_cast<T>(Access<std::underlying_type_t<T>>::value()); }
};

/// A floating-point number.
template <std::floating_point T>
class Access<T> {
public:
    /// Converts the value at @p index.
    Access(SQVM* vm, SQInteger index) {
        SQFloat value = 0;
        sq_getfloat(vm, index, &value);
        m_value = static_cast<T>(value);
    }
    /// Returns the converted parameter.
    T value() const { return m_value; }

private:
    T m_value;
};

/// A bool: false for false, null and zero, otherwise true.
template <>
class Access<bool> {
public:
    /// Converts the value at @p index.
    Access(SQVM* vm, SQInteger index) {
        SQBool value = SQFalse;
        sq_tobool(vm, index, &value);
        m_value = value != SQFalse;
    }
    /// Returns the converted parameter.
    bool value() const { return m_value; }

private:
    bool m_value;
};

/// The string form of the value at an index, as the script function `tostring` returns it; empty if that
/// fails. A string created by the conversion is kept until this object is destroyed.
class QEL_API TextAccess {
public:
    /// Converts the value at @p index.
    TextAccess(SQVM* vm, SQInteger index) {
        if (sq_gettype(vm, index) == OT_STRING) {
            read(vm, index);
        } else {
            convert(vm, index);
        }
    }
    /// Releases the string.
    ~TextAccess() {
        if (m_made) sq_release(m_made, &m_object);
    }
    TextAccess(const TextAccess&) = delete;
    TextAccess& operator=(const TextAccess&) = delete;

    /// Returns the string, zero-terminated and never null.
    const char* c_str() const { return m_text; }
    /// Returns the whole string, including any zero bytes in it.
    std::string_view view() const { return {m_text, m_size}; }

private:
    void read(SQVM* vm, SQInteger index) {
        if (SQ_SUCCEEDED(sq_getstring(vm, index, &m_text)))
            m_size = static_cast<size_t>(sq_getsize(vm, index));
    }
    void convert(SQVM* vm, SQInteger index);

    SQVM* m_made = nullptr;
    HSQOBJECT m_object; // the created string
    const char* m_text = "";
    size_t m_size = 0;
};

/// A zero-terminated string.
template <>
class Access<const char*> : public TextAccess {
public:
    using TextAccess::TextAccess;
    /// Returns the converted parameter.
    const char* value() const { return c_str(); }
};

/// A zero-terminated string.
template <>
class Access<qel::SmartCStr> : public TextAccess {
public:
    using TextAccess::TextAccess;
    /// Returns the converted parameter.
    qel::SmartCStr value() const { return qel::SmartCStr(c_str()); }
};

/// A view of the whole string.
template <>
class Access<std::string_view> : public TextAccess {
public:
    using TextAccess::TextAccess;
    /// Returns the converted parameter.
    std::string_view value() const { return view(); }
};

/// A copy of the whole string.
template <>
class Access<qel::String> {
public:
    /// Copies the string form of the value at @p index.
    Access(SQVM* vm, SQInteger index) : m_value(TextAccess(vm, index).view()) {}
    /// Returns the converted parameter.
    const qel::String& value() const { return m_value; }

private:
    qel::String m_value;
};

/// The string as an interned identifier.
template <>
class Access<qel::StringId> {
public:
    /// Interns the string form of the value at @p index.
    Access(SQVM* vm, SQInteger index) : m_value(TextAccess(vm, index).c_str()) {}
    /// Returns the converted parameter.
    const qel::StringId& value() const { return m_value; }

private:
    qel::StringId m_value;
};

/// Any script value.
template <>
class Access<Object> {
public:
    /// Takes a reference to the value at @p index.
    Access(SQVM* vm, SQInteger index) : m_value(vm, index) {}
    /// Returns the converted parameter.
    const Object& value() const { return m_value; }

private:
    Object m_value;
};

/// An instance of a value class; any other value yields a default-constructed T.
template <ValueClass T>
class Access<T> {
public:
    /// Finds the native value of the instance at @p index.
    Access(SQVM* vm, SQInteger index) : m_value(NativeClass<T>::at(vm, index)) {}
    /// Returns the converted parameter.
    const T& value() const { return m_value ? *m_value : m_default; }

private:
    const T* m_value;
    T m_default{};
};

/// An instance of a reference-counted class; any other value yields null.
template <ReferenceCountedClass T>
class Access<T*> {
public:
    /// Finds the native object of the instance at @p index.
    Access(SQVM* vm, SQInteger index) : m_value(NativeClass<T>::at(vm, index)) {}
    /// Returns the converted parameter.
    T* value() const { return m_value; }

private:
    T* m_value;
};

/// Copies the string at @p index into @p buffer, zero-terminated, if its length is less than @p size - 1.
/// Otherwise stores the empty string; nothing is truncated.
/// @param size  at least 1.
QEL_API void InitializeCharArrayAccess(SQVM* vm, SQInteger index, char* buffer, size_t size);

/// Pushes the result of a native function onto the stack of @p vm.
/// @return the number of values pushed.
template <typename T>
SQInteger pushResult(SQVM* vm, const T& value) {
    if constexpr (std::same_as<T, bool>) {
        sq_pushbool(vm, value ? SQTrue : SQFalse);
    } else if constexpr (std::integral<T> || std::is_enum_v<T>) {
        sq_pushinteger(vm, static_cast<SQInteger>(value));
    } else if constexpr (std::floating_point<T>) {
        sq_pushfloat(vm, static_cast<SQFloat>(value));
    } else if constexpr (std::same_as<T, const char*>) {
        sq_pushstring(vm, value, -1);
    } else if constexpr (std::derived_from<T, std::string> || std::same_as<T, qel::StringId>) {
        sq_pushstring(vm, value.c_str(), -1);
    } else if constexpr (std::same_as<T, Object>) {
        value.push(vm);
    } else if constexpr (std::is_pointer_v<T>) {
        NativeClass<std::remove_pointer_t<T>>::push(vm, value);
    } else {
        NativeClass<T>::push(vm, value);
    }
    return 1;
}

} // namespace qelSq
