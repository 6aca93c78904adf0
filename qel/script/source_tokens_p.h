// Cuts a script source into the tokens that matter to its nesting.
#pragma once

#include <cstddef>
#include <string_view>

namespace qelSq::internal {

/// What a token means to the nesting of a source.
enum class TokenKind {
    Operand,   ///< a name or literal, or `++` behind one: an expression may end here
    Prefix,    ///< stands in front of its operand
    Infix,     ///< takes the rest of the expression as its right side
    Start,     ///< keyword that begins a statement and opens nothing
    Header,    ///< if, for, while...: a head in parentheses, then a statement
    Statement, ///< else, do, try: a statement follows at once
    Function,  ///< function, constructor, @
    Class,     ///< class
    Extends,   ///< extends
    Open,      ///< opening bracket
    Close,     ///< closing bracket
    Comma,     ///< comma
    Semicolon, ///< semicolon
    Other,     ///< operators that open nothing
    End        ///< end of the source
};

/// One token.
struct Token {
    TokenKind kind;        ///< what it means
    char symbol;           ///< its first character
    std::string_view text; ///< all of it
};

/// Reads the tokens of a source one after the other; comments and texts end where the compiler ends them.
class TokenReader {
public:
    /// Reads @p source, which must outlive the reader.
    explicit TokenReader(std::string_view source) : m_source(source) {}
    /// The next token.
    Token next();
    /// The line on which the last token ended, from 1.
    int line() const { return m_line; }

private:
    char at(size_t offset) const { return m_at + offset < m_source.size() ? m_source[m_at + offset] : '\0'; }
    void skipBlanks();
    void advanceTo(size_t end);
    TokenKind read();
    TokenKind readWord();
    TokenKind readText(bool verbatim);
    TokenKind readSymbol();
    TokenKind readOperator();

    std::string_view m_source;
    size_t m_at = 0;
    int m_line = 1;
    Token m_last{TokenKind::Semicolon, ';', {}};
};

} // namespace qelSq::internal
