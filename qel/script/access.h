// Access: converts what a script hands to a native function; pushResult: the way back.
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

/// Makes one parameter of type T from the value at an index of a native function's stack. No conversion ever
/// raises an error: anything becomes a text, and what has no number becomes 0.
/// @threads main thread; lives while the native function runs.
template <typename T>
class Access;

/// A whole number; floats are cut towards zero and anything wider than T keeps its low bits.
template <std::integral T>
requires(!std::same_as<T, bool>) class Access<T> {
public:
    /// Reads the value at @p index.
    Access(SQVM* vm, SQInteger index) {
        SQInteger value = 0;
        sq_getinteger(vm, index, &value);
        m_value = static_cast<T>(value);
    }
    /// The parameter.
    T value() const { return m_value; }

private:
    T m_value;
};

/// An enumeration, by its number.
template <typename T>
requires std::is_enum_v<T>
class Access<T> : public Access<std::underlying_type_t<T>> {
public:
    using Access<std::underlying_type_t<T>>::Access;
    /// The parameter.
    T value() const { return static_cast<T>(Access<std::underlying_type_t<T>>::value()); }
};

/// A floating-point number.
template <std::floating_point T>
class Access<T> {
public:
    /// Reads the value at @p index.
    Access(SQVM* vm, SQInteger index) {
        SQFloat value = 0;
        sq_getfloat(vm, index, &value);
        m_value = static_cast<T>(value);
    }
    /// The parameter.
    T value() const { return m_value; }

private:
    T m_value;
};

/// A truth value: false for false, null and zero, else true.
template <>
class Access<bool> {
public:
    /// Reads the value at @p index.
    Access(SQVM* vm, SQInteger index) {
        SQBool value = SQFalse;
        sq_tobool(vm, index, &value);
        m_value = value != SQFalse;
    }
    /// The parameter.
    bool value() const { return m_value; }

private:
    bool m_value;
};

/// The text form of the value at an index, as the script function `tostring` gives it; empty when that fails.
/// A text that had to be made is kept until the access ends.
class QEL_API TextAccess {
public:
    /// Reads the value at @p index.
    TextAccess(SQVM* vm, SQInteger index);
    /// Lets go of the text.
    ~TextAccess() {
        if (m_made) sq_release(m_made, &m_object);
    }
    /// Takes the text over; @p other keeps none.
    TextAccess(TextAccess&& other) noexcept;
    TextAccess& operator=(TextAccess&&) = delete;

    /// The text, zero-terminated and never null.
    const char* c_str() const { return m_text; }
    /// The whole text, zeros within it included.
    std::string_view view() const { return {m_text, m_size}; }

private:
    SQVM* m_made = nullptr;
    HSQOBJECT m_object;
    const char* m_text = "";
    size_t m_size = 0;
};

/// A zero-terminated text.
template <>
class Access<const char*> : public TextAccess {
public:
    using TextAccess::TextAccess;
    /// The parameter.
    const char* value() const { return c_str(); }
};

/// A zero-terminated text.
template <>
class Access<qel::SmartCStr> : public TextAccess {
public:
    using TextAccess::TextAccess;
    /// The parameter.
    qel::SmartCStr value() const { return qel::SmartCStr(c_str()); }
};

/// A view of the whole text.
template <>
class Access<std::string_view> : public TextAccess {
public:
    using TextAccess::TextAccess;
    /// The parameter.
    std::string_view value() const { return view(); }
};

/// A copy of the whole text.
template <>
class Access<qel::String> {
public:
    /// Copies the text at @p index.
    Access(SQVM* vm, SQInteger index) : m_value(TextAccess(vm, index).view()) {}
    /// The parameter.
    const qel::String& value() const { return m_value; }

private:
    qel::String m_value;
};

/// The text as an identifier.
template <>
class Access<qel::StringId> {
public:
    /// Interns the text at @p index.
    Access(SQVM* vm, SQInteger index) : m_value(TextAccess(vm, index).c_str()) {}
    /// The parameter.
    const qel::StringId& value() const { return m_value; }

private:
    qel::StringId m_value;
};

/// Any script value.
template <>
class Access<Object> {
public:
    /// Takes the value at @p index.
    Access(SQVM* vm, SQInteger index) : m_value(vm, index) {}
    /// The parameter.
    const Object& value() const { return m_value; }

private:
    Object m_value;
};

/// An instance of a value class; a default one for anything else.
template <ValueClass T>
class Access<T> {
public:
    /// Finds the native value of the instance at @p index.
    Access(SQVM* vm, SQInteger index) : m_value(NativeClass<T>::at(vm, index)) {}
    /// The parameter.
    const T& value() const { return m_value ? *m_value : m_default; }

private:
    const T* m_value;
    T m_default{};
};

/// An instance of a reference-counted class; null for anything else.
template <ReferenceCountedClass T>
class Access<T*> {
public:
    /// Finds the native object of the instance at @p index.
    Access(SQVM* vm, SQInteger index) : m_value(NativeClass<T>::at(vm, index)) {}
    /// The parameter.
    T* value() const { return m_value; }

private:
    T* m_value;
};

/// Copies the text at @p index into @p buffer, zero-terminated, when its length is less than @p size - 1;
/// stores the empty text otherwise and cuts nothing. @param size  at least 1.
QEL_API void InitializeCharArrayAccess(SQVM* vm, SQInteger index, char* buffer, size_t size);

/// Pushes the result of a native function onto the stack of @p vm. @return how many values that are.
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
