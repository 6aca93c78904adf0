// The errors that the tokenizer and the parser of stylesheets find.
#pragma once

#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace qel::internal {

/// Collects the first errors of a stylesheet.
class CssErrors {
public:
    /// An error and the byte of the stylesheet at which it was found.
    struct Error {
        uint32 offset;
        const char* message;
    };

    /// At this number of errors the parser stops.
    static constexpr size_t kMaxErrors = 100;

    /// Adds an error unless the list is full or muted. @param message  a literal.
    void add(uint32 offset, const char* message) {
        if (!m_isMuted && !isFull()) m_errors.push_back({offset, message});
    }
    /// Returns true if no more errors are taken.
    bool isFull() const { return m_errors.size() >= kMaxErrors; }
    /// Returns the number of errors.
    size_t size() const { return m_errors.size(); }
    /// Drops the errors that are added until this is called with false.
    void setMuted(bool isMuted) { m_isMuted = isMuted; }
    /// Orders the errors by their place. @return the list.
    const std::vector<Error>& sort() {
        std::stable_sort(m_errors.begin(), m_errors.end(),
                         [](const Error& a, const Error& b) { return a.offset < b.offset; });
        return m_errors;
    }

private:
    std::vector<Error> m_errors;
    bool m_isMuted = false;
};

/// Converts offsets of a text that do not decrease into lines and columns.
class CssPlaces {
public:
    /// @param text  must outlive the object.
    explicit CssPlaces(std::string_view text) : m_text(text) {}
    /// Returns "line:column" of @p offset, both counted from 1, columns in characters.
    String describe(uint32 offset) {
        for (; m_position < offset && m_position < m_text.size(); ++m_position) {
            const auto byte = static_cast<uint8>(m_text[m_position]);
            if (byte == '\n') {
                ++m_line;
                m_column = 1;
            } else if ((byte & 0xC0) != 0x80) { // a continuation byte of UTF-8 is no character of its own
                ++m_column;
            }
        }
        return String(std::to_string(m_line) + ":" + std::to_string(m_column));
    }

private:
    std::string_view m_text;
    size_t m_position = 0;
    uint32 m_line = 1;
    uint32 m_column = 1;
};

} // namespace qel::internal
