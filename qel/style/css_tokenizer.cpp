#include <qel/style/css_tokenizer_p.h>

#include <qel/style/css_number_p.h>

#include <array>
#include <utility>

namespace qel::internal {

namespace {

enum CharacterClass : uint8 {
    kSpace = 1,
    kDigit = 2,
    kHexDigit = 4,
    kNameStart = 8,
    kName = 16,
    kNonPrintable = 32,
};

/// The classes of each byte. Those above 127 belong to characters that are parts of names.
constexpr std::array<uint8, 256> characterClasses() {
    std::array<uint8, 256> classes{};
    for (int c = 0; c < 256; ++c) {
        const int lower = c | 0x20;
        const bool isDigit = c >= '0' && c <= '9';
        const bool isStart = (lower >= 'a' && lower <= 'z') || c == '_' || c >= 0x80;
        const bool isHex = isDigit || (lower >= 'a' && lower <= 'f');
        const bool isSpace = c == ' ' || c == '\t' || c == '\n';
        classes[static_cast<size_t>(c)] =
            static_cast<uint8>((isSpace ? kSpace : 0) | (isDigit ? kDigit : 0) | (isHex ? kHexDigit : 0) |
                               (isStart ? kNameStart : 0) | (isStart || isDigit || c == '-' ? kName : 0) |
                               ((c < 32 && !isSpace) || c == 127 ? kNonPrintable : 0));
    }
    return classes;
}
constexpr std::array<uint8, 256> kClasses = characterClasses();

bool is(char c, uint8 wanted) {
    return (kClasses[static_cast<uint8>(c)] & wanted) != 0;
}

uint32 hexValue(char c) {
    return static_cast<uint32>(is(c, kDigit) ? c - '0' : (c | 0x20) - 'a' + 10);
}

bool isUrl(std::string_view name) {
    return name.size() == 3 && (name[0] | 0x20) == 'u' && (name[1] | 0x20) == 'r' && (name[2] | 0x20) == 'l';
}

} // namespace

CssToken CssTokenizer::next() {
    skipComments();
    if (isAtEnd() || m_errors.isFull()) return {CssTokenType::End, false, offset(), 0, {}};
    const char c = peek();
    if (is(c, kSpace)) return whitespace();
    if (c == '-' && m_text.substr(m_position, 3) == "-->") return token(CssTokenType::Cdc, 3);
    if (is(c, kNameStart) || (c == '-' && startsName(0))) return nameLike();
    if (is(c, kDigit) || startsNumber(0)) return numeric();
    switch (c) {
    case '"':
    case '\'':
        return string(c);
    case '#':
        return hash();
    case '@':
        if (startsName(1)) return named(CssTokenType::AtKeyword, 1);
        break;
    case '\\':
        if (isEscape(0)) return nameLike();
        m_errors.add(offset(), "a backslash that escapes nothing");
        break;
    case '<':
        if (m_text.substr(m_position, 4) == "<!--") return token(CssTokenType::Cdo, 4);
        break;
    default:
        break;
    }
    return symbol(c);
}

/// Returns true for a backslash that is not at the end of a line.
bool CssTokenizer::isEscape(size_t ahead) const {
    return peek(ahead) == '\\' && peek(ahead + 1) != '\n';
}

bool CssTokenizer::startsName(size_t ahead) const {
    if (peek(ahead) == '-') {
        ++ahead;
        if (peek(ahead) == '-') return true;
    }
    return is(peek(ahead), kNameStart) || isEscape(ahead);
}

bool CssTokenizer::startsNumber(size_t ahead) const {
    if (peek(ahead) == '+' || peek(ahead) == '-') ++ahead;
    if (peek(ahead) == '.') ++ahead;
    return is(peek(ahead), kDigit);
}

bool CssTokenizer::skip(std::string_view expected) {
    if (m_text.substr(m_position, expected.size()) != expected) return false;
    m_position += expected.size();
    return true;
}

void CssTokenizer::skipComments() {
    while (peek() == '/' && peek(1) == '*') {
        const size_t end = m_text.find("*/", m_position + 2);
        if (end == m_text.npos) {
            m_errors.add(offset(), "the comment is not closed");
            m_position = m_text.size();
            return;
        }
        m_position = end + 2;
    }
}

void CssTokenizer::skipWhitespace() {
    while (is(peek(), kSpace)) ++m_position;
}

void CssTokenizer::skipDigits() {
    while (is(peek(), kDigit)) ++m_position;
}

/// Appends the character that an escape means; the position is after its backslash.
void CssTokenizer::appendEscape(String& out) {
    constexpr uint32 kReplacement = 0xFFFD;
    if (isAtEnd()) {
        m_errors.add(offset(), "the stylesheet ends in an escape");
        out.utf8_append(kReplacement);
        return;
    }
    if (!is(peek(), kHexDigit)) {
        do out.push_back(m_text[m_position++]);
        while (!isAtEnd() && (static_cast<uint8>(peek()) & 0xC0) == 0x80);
        return;
    }
    uint32 value = 0;
    for (int digits = 0; digits < 6 && is(peek(), kHexDigit); ++digits)
        value = value * 16 + hexValue(m_text[m_position++]);
    if (is(peek(), kSpace)) ++m_position;
    const bool isCharacter = value != 0 && value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
    out.utf8_append(isCharacter ? value : kReplacement);
}

std::string_view CssTokenizer::name() {
    const size_t begin = m_position;
    while (is(peek(), kName)) ++m_position;
    if (isEscape(0)) return nameWithEscapes(begin);
    return m_text.substr(begin, m_position - begin);
}

std::string_view CssTokenizer::nameWithEscapes(size_t begin) {
    String decoded(m_text.substr(begin, m_position - begin));
    for (;;) {
        if (isEscape(0)) {
            ++m_position;
            appendEscape(decoded);
        } else if (is(peek(), kName)) {
            decoded.push_back(m_text[m_position++]);
        } else {
            return m_store.store(std::move(decoded));
        }
    }
}

CssToken CssTokenizer::token(CssTokenType type, size_t length) {
    const CssToken result = {type, false, offset(), 0, m_text.substr(m_position, length)};
    m_position += length;
    return result;
}

/// Reads a name that follows @p prefix bytes.
CssToken CssTokenizer::named(CssTokenType type, size_t prefix) {
    CssToken result = token(type, prefix);
    result.text = name();
    return result;
}

CssToken CssTokenizer::whitespace() {
    const CssToken result = token(CssTokenType::Whitespace, 1);
    skipWhitespace();
    return result;
}

CssToken CssTokenizer::hash() {
    if (!is(peek(1), kName) && !isEscape(1)) return symbol('#');
    const bool isId = startsName(1);
    CssToken result = named(CssTokenType::Hash, 1);
    result.isId = isId;
    return result;
}

CssToken CssTokenizer::numeric() {
    CssToken result = token(CssTokenType::Number, 0);
    if (peek() == '+' || peek() == '-') ++m_position;
    skipDigits();
    if (peek() == '.' && is(peek(1), kDigit)) {
        ++m_position;
        skipDigits();
    }
    const size_t sign = peek(1) == '+' || peek(1) == '-' ? 1 : 0;
    if ((peek() | 0x20) == 'e' && is(peek(1 + sign), kDigit)) {
        m_position += 1 + sign;
        skipDigits();
    }
    result.number = cssNumber(m_text.substr(result.offset, m_position - result.offset));
    if (startsName(0)) {
        result.type = CssTokenType::Dimension;
        result.text = m_store.lowerCase(name());
    } else if (skip("%")) {
        result.type = CssTokenType::Percentage;
    }
    return result;
}

CssToken CssTokenizer::nameLike() {
    CssToken result = named(CssTokenType::Ident, 0);
    if (peek() != '(') return result;
    const bool isInText = result.text.data() == m_text.data() + result.offset;
    ++m_position;
    if (isUrl(result.text)) {
        const size_t content = m_text.find_first_not_of(" \t\n", m_position);
        const char first = content == m_text.npos ? '\0' : m_text[content];
        if (first != '"' && first != '\'') {
            m_position = result.offset;
            return url();
        }
    }
    result.type = CssTokenType::Function;
    result.text = isInText ? m_text.substr(result.offset, result.text.size() + 1)
                           : m_store.store(std::string(result.text) + '(');
    return result;
}

CssToken CssTokenizer::string(char quote) {
    CssToken result = token(CssTokenType::String, 1);
    String content;
    for (;;) {
        const size_t begin = m_position;
        while (!isAtEnd() && peek() != quote && peek() != '\n' && peek() != '\\') ++m_position;
        content.append(m_text, begin, m_position - begin);
        if (isAtEnd()) {
            m_errors.add(result.offset, "the string is not closed");
            break;
        }
        if (peek() == '\n') {
            m_errors.add(result.offset, "the string is not closed in its line");
            result.type = CssTokenType::BadString;
            break;
        }
        if (m_text[m_position++] == quote) break;
        if (isAtEnd()) continue; // a backslash at the end is dropped
        if (!skip("\n")) appendEscape(content);
    }
    result.text = m_store.store(std::move(content));
    return result;
}

/// Reads url(...) without quotes.
CssToken CssTokenizer::url() {
    CssToken result = token(CssTokenType::Url, 0);
    name();
    skip("(");
    skipWhitespace();
    String content;
    while (!isAtEnd() && peek() != ')') {
        if (is(peek(), kSpace)) {
            skipWhitespace();
            if (isAtEnd() || peek() == ')') break;
            return badUrl(result, "a space in a URL without quotes");
        }
        if (is(peek(), kNonPrintable) || peek() == '"' || peek() == '\'' || peek() == '(')
            return badUrl(result, "a character in a URL that needs quotes");
        if (peek() != '\\') {
            content.push_back(m_text[m_position++]);
            continue;
        }
        if (!isEscape(0)) return badUrl(result, "a backslash that escapes nothing in a URL");
        ++m_position;
        appendEscape(content);
    }
    if (!skip(")")) m_errors.add(result.offset, "the URL is not closed");
    result.text = m_store.store(std::move(content));
    return result;
}

/// Reports a bad URL and passes over the rest of it.
CssToken CssTokenizer::badUrl(CssToken token, const char* message) {
    m_errors.add(offset(), message);
    while (!isAtEnd() && !skip(")")) m_position += isEscape(0) && m_position + 1 < m_text.size() ? 2 : 1;
    token.type = CssTokenType::BadUrl;
    return token;
}

CssToken CssTokenizer::symbol(char c) {
    switch (c) {
    case ':':
        return token(CssTokenType::Colon, 1);
    case ';':
        return token(CssTokenType::Semicolon, 1);
    case ',':
        return token(CssTokenType::Comma, 1);
    case '[':
        return token(CssTokenType::OpenSquare, 1);
    case ']':
        return token(CssTokenType::CloseSquare, 1);
    case '(':
        return token(CssTokenType::OpenRound, 1);
    case ')':
        return token(CssTokenType::CloseRound, 1);
    case '{':
        return token(CssTokenType::OpenCurly, 1);
    case '}':
        return token(CssTokenType::CloseCurly, 1);
    default:
        return token(CssTokenType::Delim, 1);
    }
}

} // namespace qel::internal
