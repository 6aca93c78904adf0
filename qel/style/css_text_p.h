// The text of a stylesheet as the tokenizer needs it, and the texts that differ from it.
#pragma once

#include <qel/foundation/base/byte_span.h>

#include <deque>
#include <string>
#include <string_view>

namespace qel::internal {

/// A stylesheet's text in valid UTF-8 with line feeds as the only line breaks and without NUL bytes, and
/// owner of the texts that the tokenizer and the parser derive from it. All views stay valid while it lives.
class CssText {
public:
    /// Prepares @p bytes as section 3.3 of CSS Syntax Module Level 3 asks, without a byte order mark.
    explicit CssText(ConstByteSpan bytes);
    CssText(const CssText&) = delete;
    CssText& operator=(const CssText&) = delete;

    /// Returns the prepared text; a NUL follows it.
    const std::string& source() const { return m_source; }
    /// Stores a text. @return a view that a NUL follows.
    std::string_view store(std::string text) { return m_stored.emplace_back(std::move(text)); }
    /// Returns @p text with its ASCII letters in lower case: the same view if there is nothing to change.
    std::string_view lowerCase(std::string_view text);

private:
    std::string m_source;
    std::deque<std::string> m_stored;
};

} // namespace qel::internal
