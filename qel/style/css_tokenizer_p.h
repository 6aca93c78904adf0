// The tokenizer of stylesheets.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/style/css_errors_p.h>
#include <qel/style/css_text_p.h>

#include <string_view>

namespace qel::internal {

/// The kinds of tokens of CSS Syntax Module Level 3, section 4.
enum class CssTokenType : uint8 {
    End,
    Whitespace,
    Ident,
    Function, ///< a name and its parenthesis
    AtKeyword,
    Hash,
    String,
    BadString,
    Url, ///< url(...) without quotes
    BadUrl,
    Delim, ///< any other single character
    Number,
    Percentage,
    Dimension, ///< a number and its unit
    Cdo,       ///< an opening HTML comment
    Cdc,       ///< a closing HTML comment
    Colon,
    Semicolon,
    Comma,
    OpenSquare,
    CloseSquare,
    OpenRound,
    CloseRound,
    OpenCurly,
    CloseCurly,
};

/// A token of a stylesheet.
struct CssToken {
    CssTokenType type = CssTokenType::End;
    bool isId = false;     ///< the text of a hash could be an identifier
    uint32 offset = 0;     ///< of its first byte
    float number = 0;      ///< of a number, percentage or dimension
    std::string_view text; ///< a name with the "(" of a function, a unit, the content of a string or URL, or
                           ///< the character

    /// Returns true for the character @p c.
    bool isDelim(char c) const { return type == CssTokenType::Delim && text.front() == c; }
};

/// Splits a stylesheet into tokens; comments are dropped.
class CssTokenizer {
public:
    /// @param text, errors  must outlive the object. Names with escapes are stored in @p text.
    CssTokenizer(CssText& text, CssErrors& errors) : m_store(text), m_errors(errors), m_text(text.source()) {}

    /// Returns the next token; the end after it, or as soon as the list of errors is full.
    CssToken next();

private:
    char peek(size_t ahead = 0) const {
        return m_position + ahead < m_text.size() ? m_text[m_position + ahead] : '\0';
    }
    uint32 offset() const { return static_cast<uint32>(m_position); }
    bool isAtEnd() const { return m_position >= m_text.size(); }
    bool isEscape(size_t ahead) const;
    bool startsName(size_t ahead) const;
    bool startsNumber(size_t ahead) const;
    bool skip(std::string_view expected);
    void skipComments();
    void skipWhitespace();
    void skipDigits();
    void appendEscape(String& out);
    std::string_view name();
    std::string_view nameWithEscapes(size_t begin);
    CssToken token(CssTokenType type, size_t length);
    CssToken named(CssTokenType type, size_t prefix);
    CssToken whitespace();
    CssToken hash();
    CssToken numeric();
    CssToken nameLike();
    CssToken string(char quote);
    CssToken url();
    CssToken badUrl(CssToken token, const char* message);
    CssToken symbol(char c);

    CssText& m_store;
    CssErrors& m_errors;
    std::string_view m_text;
    size_t m_position = 0;
};

} // namespace qel::internal
