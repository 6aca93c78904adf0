#include <qel/script/source_tokens_p.h>

#include <algorithm>
#include <array>

namespace qelSq::internal {

namespace {

struct Keyword {
    std::string_view text;
    TokenKind kind;
};

constexpr std::array kKeywords = std::to_array<Keyword>({
    {"if", TokenKind::Header},         {"for", TokenKind::Header},     {"foreach", TokenKind::Header},
    {"while", TokenKind::Header},      {"switch", TokenKind::Header},  {"catch", TokenKind::Header},
    {"else", TokenKind::Statement},    {"do", TokenKind::Statement},   {"try", TokenKind::Statement},
    {"function", TokenKind::Function}, {"class", TokenKind::Class},    {"constructor", TokenKind::Function},
    {"extends", TokenKind::Extends},   {"typeof", TokenKind::Prefix},  {"clone", TokenKind::Prefix},
    {"resume", TokenKind::Prefix},     {"delete", TokenKind::Prefix},  {"rawcall", TokenKind::Prefix},
    {"return", TokenKind::Start},      {"yield", TokenKind::Start},    {"throw", TokenKind::Start},
    {"local", TokenKind::Start},       {"const", TokenKind::Start},    {"static", TokenKind::Start},
    {"enum", TokenKind::Start},        {"case", TokenKind::Start},     {"default", TokenKind::Start},
    {"break", TokenKind::Start},       {"continue", TokenKind::Start}, {"in", TokenKind::Other},
    {"instanceof", TokenKind::Other},
});

bool isWordByte(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

} // namespace

Token TokenReader::next() {
    skipBlanks();
    size_t begin = m_at;
    char symbol = at(0);
    TokenKind kind = m_at < m_source.size() ? read() : TokenKind::End;
    return m_last = {kind, symbol, m_source.substr(begin, m_at - begin)};
}

void TokenReader::skipBlanks() {
    while (m_at < m_source.size()) {
        char c = at(0);
        if (c == '#' || (c == '/' && at(1) == '/')) {
            m_at = std::min(m_source.find('\n', m_at), m_source.size());
        } else if (c == '/' && at(1) == '*') {
            size_t end = m_source.find("*/", m_at + 2);
            advanceTo(end == std::string_view::npos ? m_source.size() : end + 2);
        } else if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
            advanceTo(m_at + 1);
        } else {
            return;
        }
    }
}

void TokenReader::advanceTo(size_t end) {
    std::string_view passed = m_source.substr(m_at, end - m_at);
    m_line += static_cast<int>(std::count(passed.begin(), passed.end(), '\n'));
    m_at = end;
}

TokenKind TokenReader::read() {
    char c = at(0);
    if (isWordByte(c)) return readWord();
    if (c == '"' || c == '\'') return readText(false);
    if (c == '@' && at(1) == '"') {
        ++m_at;
        return readText(true);
    }
    return readSymbol();
}

TokenKind TokenReader::readWord() {
    size_t begin = m_at;
    while (isWordByte(at(0))) ++m_at;
    if (m_last.symbol == '.') return TokenKind::Operand;
    std::string_view word = m_source.substr(begin, m_at - begin);
    auto keyword =
        std::find_if(kKeywords.begin(), kKeywords.end(), [word](const Keyword& k) { return k.text == word; });
    return keyword != kKeywords.end() ? keyword->kind : TokenKind::Operand;
}

TokenKind TokenReader::readText(bool verbatim) {
    char quote = at(0);
    size_t end = m_at + 1;
    for (; end < m_source.size(); ++end) {
        bool isQuote = m_source[end] == quote;
        bool isDoubled = isQuote && verbatim && end + 1 < m_source.size() && m_source[end + 1] == quote;
        if (isDoubled || (m_source[end] == '\\' && !verbatim)) {
            ++end;
        } else if (isQuote) {
            break;
        }
    }
    advanceTo(std::min(end + 1, m_source.size()));
    return TokenKind::Operand;
}

TokenKind TokenReader::readSymbol() {
    switch (at(0)) {
    case '(':
    case '[':
    case '{':
        return ++m_at, TokenKind::Open;
    case ')':
    case ']':
    case '}':
        return ++m_at, TokenKind::Close;
    case ',':
        return ++m_at, TokenKind::Comma;
    case ';':
        return ++m_at, TokenKind::Semicolon;
    case '@':
        return ++m_at, TokenKind::Function;
    case '~':
        return ++m_at, TokenKind::Prefix;
    case '?':
        return ++m_at, TokenKind::Infix;
    default:
        return readOperator();
    }
}

TokenKind TokenReader::readOperator() {
    char c = at(0);
    char second = at(1);
    bool afterOperand = m_last.kind == TokenKind::Operand || m_last.kind == TokenKind::Close;
    ++m_at;
    if (second == '=' && std::string_view("+-*/%").find(c) != std::string_view::npos) {
        return ++m_at, TokenKind::Infix;
    }
    if ((c == '+' || c == '-') && second == c) {
        return ++m_at, afterOperand ? TokenKind::Operand : TokenKind::Prefix;
    }
    if (second == '=' && std::string_view("=!<>").find(c) != std::string_view::npos) {
        return ++m_at, TokenKind::Other;
    }
    if ((c == '|' && second == '|') || (c == '&' && second == '&') || (c == '<' && second == '-')) {
        return ++m_at, TokenKind::Infix;
    }
    if (c == '=') return TokenKind::Infix;
    if (c == '!' || (c == '-' && !afterOperand)) return TokenKind::Prefix;
    return TokenKind::Other;
}

} // namespace qelSq::internal
