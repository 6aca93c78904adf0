// A borrowed NUL-terminated text that is never null.
#pragma once

#include <qel/platform/api.h>

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <ostream>
#include <string>
#include <string_view>

namespace qel {

class StringId;

/// A pointer to a NUL-terminated text, for parameters: a caller may pass a literal, a String, a std::string,
/// a StringId or nullptr, and the callee never sees null. Bytes after the first NUL of a String are not
/// visible.
/// @owner borrows; the text must outlive it, which a temporary argument does until the call returns.
class QEL_API SmartCStr {
public:
    /// Refers to the empty text.
    SmartCStr() noexcept = default;
    /// Refers to the empty text.
    SmartCStr(std::nullptr_t) noexcept {}
    /// Refers to @p text; null means the empty text.
    SmartCStr(const char* text) noexcept : m_text(text) { validate(); }
    /// Refers to the text up to its first NUL; also takes a String.
    SmartCStr(const std::string& text) noexcept : m_text(text.c_str()) {}
    /// Refers to the text of an interned string. Defined in string_id.h.
    SmartCStr(const StringId& text) noexcept;

    /// Refers to another text; null means the empty text.
    void assign(const char* text) noexcept {
        m_text = text;
        validate();
    }
    /// Becomes the empty text.
    void clear() noexcept { m_text = kEmpty; }
    /// Exchanges the pointers.
    void swap(SmartCStr& other) noexcept { std::swap(m_text, other.m_text); }

    /// Returns the text; never null.
    const char* c_str() const noexcept { return m_text; }
    /// Returns the first byte; equals end() for the empty text.
    const char* begin() const noexcept { return m_text; }
    /// Returns the terminating NUL, which takes a walk over the text.
    const char* end() const noexcept { return m_text + size(); }
    /// Returns the number of bytes before the NUL, which each call counts.
    std::size_t size() const noexcept { return std::strlen(m_text); }
    /// Returns size().
    std::size_t length() const noexcept { return size(); }
    /// Returns whether the text is empty.
    bool empty() const noexcept { return *m_text == '\0'; }
    /// Returns the bytes with their length.
    std::string_view view() const noexcept { return {m_text, size()}; }

    /// Compares bytes as unsigned. @return negative, 0 or positive.
    int compare(SmartCStr other) const noexcept { return std::strcmp(m_text, other.m_text); }
    /// Returns whether the text starts with @p text; every text starts with the empty one.
    bool begins_with(SmartCStr text) const noexcept { return view().starts_with(text.view()); }
    /// Returns whether the text starts with @p c.
    bool begins_with(char c) const noexcept { return view().starts_with(c); }
    /// Returns whether the text ends with @p text; every text ends with the empty one.
    bool ends_with(SmartCStr text) const noexcept { return view().ends_with(text.view()); }
    /// Returns whether the text ends with @p c.
    bool ends_with(char c) const noexcept { return view().ends_with(c); }
    /// Returns whether @p text occurs anywhere; the empty one always does.
    bool contains(SmartCStr text) const noexcept { return std::strstr(m_text, text.m_text) != nullptr; }
    /// Returns whether @p c occurs before the NUL.
    bool contains(char c) const noexcept { return view().find(c) != std::string_view::npos; }
    /// Returns the text from @p offset on; an offset past the end returns the empty text.
    SmartCStr substr(unsigned offset) const noexcept {
        const void* nul = std::memchr(m_text, '\0', offset);
        return nul ? SmartCStr() : SmartCStr(m_text + offset);
    }

    /// Steps to the next byte; stays on the terminating NUL.
    SmartCStr& operator++() noexcept {
        m_text += *m_text != '\0';
        return *this;
    }
    /// Steps to the next byte; stays on the terminating NUL. @return the position before the step.
    SmartCStr operator++(int) noexcept {
        SmartCStr before = *this;
        ++*this;
        return before;
    }

    /// Returns the text; never null.
    operator const char*() const noexcept { return m_text; }
    /// Returns whether the text is not empty. A template, so that it serves bool alone and is preferred there
    /// to the conversion to a pointer, which is never null.
    template <std::same_as<bool> Bool>
    operator Bool() const noexcept {
        return !empty();
    }

    /// Compares bytes, not addresses.
    friend bool operator==(SmartCStr a, SmartCStr b) noexcept { return a.compare(b) == 0; }
    /// Compares bytes, not addresses.
    friend bool operator==(SmartCStr a, const char* b) noexcept { return a.compare(b) == 0; }
    /// Compares bytes; a NUL inside @p b makes it unequal.
    friend bool operator==(SmartCStr a, const std::string& b) noexcept { return a.view() == b; }
    /// Orders by unsigned bytes, the shorter text first at a common prefix.
    friend std::strong_ordering operator<=>(SmartCStr a, SmartCStr b) noexcept { return a.compare(b) <=> 0; }
    /// Orders by unsigned bytes, the shorter text first at a common prefix.
    friend std::strong_ordering operator<=>(SmartCStr a, const char* b) noexcept {
        return a.compare(b) <=> 0;
    }
    /// Orders by unsigned bytes, the shorter text first at a common prefix.
    friend std::strong_ordering operator<=>(SmartCStr a, const std::string& b) noexcept {
        return a.view() <=> std::string_view(b);
    }

    /// Writes the text to a stream.
    friend std::ostream& operator<<(std::ostream& out, SmartCStr text) { return out << text.m_text; }

protected:
    /// Replaces null with the shared empty text.
    void validate() noexcept {
        if (!m_text) m_text = kEmpty;
    }

private:
    static constexpr const char* kEmpty = "";

    const char* m_text = kEmpty;
};

} // namespace qel
