// An interned immutable text of one pointer's size.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/string_pool.h>
#include <qel/platform/api.h>

#include <compare>
#include <concepts>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

namespace qel {

/// An identifier. Equal texts share one element of the pool for as long as either lives, so that comparing
/// two of them compares pointers and a copy costs one atomic increment. The empty text is null and costs
/// nothing. Intern a text once and pass the StringId on; creating one takes a lock of the pool.
/// @threads may be copied, assigned and destroyed on any thread; one object belongs to one thread at a time.
class QEL_API StringId {
public:
    /// Creates the empty text.
    constexpr StringId() noexcept = default;
    /// Interns a text; null means the empty text.
    StringId(const char* text) { assign(text); }
    /// Interns a text.
    StringId(SmartCStr text) { assign(text.c_str()); }
    /// Interns all bytes, including NUL; also takes a String.
    StringId(const std::string& text) { assign(text.data(), text.size()); }
    /// Interns @p length bytes; null means the empty text.
    StringId(const char* text, std::size_t length) { assign(text, length); }
    /// Adds a reference.
    StringId(const StringId& other) noexcept : m_element(other.m_element) { addReference(); }
    /// Takes the reference over; @p other becomes empty.
    StringId(StringId&& other) noexcept : m_element(std::exchange(other.m_element, nullptr)) {}
    /// Drops the reference.
    ~StringId() { dropReference(); }

    /// Adds a reference to the other text and drops the old one.
    StringId& operator=(const StringId& other) noexcept {
        StringId(other).swap(*this);
        return *this;
    }
    /// Takes the reference over; @p other becomes empty.
    StringId& operator=(StringId&& other) noexcept {
        StringId(std::move(other)).swap(*this);
        return *this;
    }
    /// Interns a text; null means the empty text.
    void assign(const char* text);
    /// Interns @p length bytes; null means the empty text.
    void assign(const char* text, std::size_t length);
    /// Becomes the empty text.
    void clear() noexcept { StringId().swap(*this); }
    /// Exchanges the texts.
    void swap(StringId& other) noexcept { std::swap(m_element, other.m_element); }

    /// Returns the text; never null. @owner valid for as long as a StringId of this text lives.
    const char* c_str() const noexcept { return m_element ? m_element->text() : ""; }
    /// Returns the number of bytes.
    std::size_t size() const noexcept { return m_element ? m_element->length : 0; }
    /// Returns whether this is the empty text.
    bool empty() const noexcept { return !m_element; }
    /// Returns whether the text is not empty. A template, as in SmartCStr, so that it is preferred to the
    /// conversion to a pointer.
    template <std::same_as<bool> Bool>
    operator Bool() const noexcept {
        return m_element != nullptr;
    }
    /// Returns the text; never null.
    operator const char*() const noexcept { return c_str(); }
    /// Returns the text as a parameter.
    SmartCStr smart_cstr() const noexcept { return SmartCStr(c_str()); }
    /// Returns all bytes, including NUL.
    std::string_view view() const noexcept { return {c_str(), size()}; }
    /// Returns a copy of the text.
    String string() const { return String(view()); }
    /// Returns String::hash() of the text, which is stored.
    uint64 hash() const noexcept { return m_element ? m_element->hash : kEmptyHash; }

    /// As String::begins_with().
    bool begins_with(SmartCStr text) const { return view().starts_with(text.view()); }
    /// Returns whether the text starts with @p c.
    bool begins_with(char c) const { return view().starts_with(c); }
    /// As String::ends_with().
    bool ends_with(SmartCStr text) const { return view().ends_with(text.view()); }
    /// Returns whether the text ends with @p c.
    bool ends_with(char c) const { return view().ends_with(c); }
    /// As String::contains().
    bool contains(SmartCStr text) const { return view().find(text.view()) != String::npos; }
    /// Returns whether @p c occurs anywhere.
    bool contains(char c) const { return view().find(c) != String::npos; }
    /// As std::string::find_first_of(). @return String::npos if none of the characters occurs.
    std::size_t find_first_of(SmartCStr characters, std::size_t position = 0) const {
        return view().find_first_of(characters.view(), position);
    }
    /// As String::substr().
    String substr(std::size_t position = 0, std::size_t count = String::npos) const {
        return String(view().substr(position, count));
    }
    /// As String::encodeBase16().
    String encodeBase16() const { return string().encodeBase16(); }
    /// As String::trim_leading_zeros().
    String trim_leading_zeros() const { return string().trim_leading_zeros(); }
    /// As String::trim_spaces().
    String trim_spaces() const { return string().trim_spaces(); }
    /// As String::trim_spaces_newlines().
    String trim_spaces_newlines() const { return string().trim_spaces_newlines(); }
    /// As String::utf8_escape_controlcode().
    String utf8_escape_controlcode() const { return string().utf8_escape_controlcode(); }
    /// As String::utf8_escape_html().
    String utf8_escape_html() const { return string().utf8_escape_html(); }
    /// As String::utf8_fix().
    String utf8_fix() const { return string().utf8_fix(); }
    /// As String::utf8_lowercase().
    String utf8_lowercase() const { return string().utf8_lowercase(); }

    /// Compares the pointers, since equal texts share one element.
    friend bool operator==(const StringId& a, const StringId& b) noexcept {
        return a.m_element == b.m_element;
    }
    /// Orders by unsigned bytes, the shorter text first at a common prefix.
    friend std::strong_ordering operator<=>(const StringId& a, const StringId& b) noexcept {
        return a.view() <=> b.view();
    }
    /// Compares bytes.
    friend bool operator==(const StringId& a, const std::string& b) noexcept { return a.view() == b; }
    /// Orders by unsigned bytes, the shorter text first at a common prefix.
    friend std::strong_ordering operator<=>(const StringId& a, const std::string& b) noexcept {
        return a.view() <=> std::string_view(b);
    }
    /// Compares bytes; null means the empty text.
    friend bool operator==(const StringId& a, const char* b) noexcept {
        return a.view() == SmartCStr(b).view();
    }
    /// Orders by unsigned bytes, the shorter text first at a common prefix; null means the empty text.
    friend std::strong_ordering operator<=>(const StringId& a, const char* b) noexcept {
        return a.view() <=> SmartCStr(b).view();
    }
    /// Compares bytes.
    friend bool operator==(const StringId& a, SmartCStr b) noexcept { return a.view() == b.view(); }
    /// Orders by unsigned bytes, the shorter text first at a common prefix.
    friend std::strong_ordering operator<=>(const StringId& a, SmartCStr b) noexcept {
        return a.view() <=> b.view();
    }
    /// Writes all bytes of the text to a stream.
    friend std::ostream& operator<<(std::ostream& out, const StringId& text) { return out << text.view(); }

private:
    static constexpr uint64 kEmptyHash = 0x811C9DC5;

    void addReference() noexcept {
        if (m_element) m_element->referenceCount.fetch_add(1, std::memory_order_relaxed);
    }
    void dropReference() noexcept {
        if (m_element && m_element->referenceCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
            internal::g_stringPool.release(m_element);
    }

    StringElement* m_element = nullptr;
};

inline SmartCStr::SmartCStr(const StringId& text) noexcept : m_text(text.c_str()) {}

inline String::String(const StringId& text) : std::string(text.view()) {}

inline String& String::operator=(const StringId& text) {
    assign(text.view());
    return *this;
}

namespace internal {

template <typename T>
concept IsStringId = std::same_as<std::remove_cvref_t<T>, StringId>;

} // namespace internal

/// Concatenates a StringId and any text, in either order, to a String.
template <internal::StringPart A, internal::StringPart B>
requires((internal::IsStringId<A> || internal::IsStringId<B>)&&!internal::IsString<A> &&
         !internal::IsString<B>) String
operator+(A&& a, B&& b) {
    String text = internal::beginOfText(std::forward<A>(a));
    internal::appendPart(text, b);
    return text;
}

/// Appends an interned text, including NUL. A template, so that no other argument is converted to a StringId.
template <internal::IsStringId Id>
String& operator+=(String& text, const Id& addition) {
    text.append(addition.view());
    return text;
}

} // namespace qel

/// Makes StringId a key of the unordered containers.
template <>
struct std::hash<qel::StringId> {
    std::size_t operator()(const qel::StringId& text) const noexcept { return text.hash(); }
};
