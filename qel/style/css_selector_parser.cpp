#include <qel/style/css_selector_parser_p.h>

#include <algorithm>
#include <iterator>

namespace qel::internal {

namespace {

/// The pseudo-elements that may be written with one colon, see Selectors Level 4, section 3.6.
constexpr std::string_view kOldPseudoElements[] = {"before", "after", "first-line", "first-letter"};

bool isOldPseudoElement(std::string_view name) {
    return std::find(std::begin(kOldPseudoElements), std::end(kOldPseudoElements), name) !=
           std::end(kOldPseudoElements);
}

} // namespace

bool CssSelectorParser::parse() {
    do {
        skip(CssTokenType::Whitespace);
        if (!selector()) return false;
    } while (skip(CssTokenType::Comma));
    return peek().type == CssTokenType::End || fail();
}

const CssToken& CssSelectorParser::peek(size_t ahead) const {
    static constexpr CssToken kEnd;
    return m_position + ahead < m_tokens.size() ? m_tokens[m_position + ahead] : kEnd;
}

bool CssSelectorParser::skip(CssTokenType type) {
    const bool found = peek().type == type;
    if (found) ++m_position;
    return found;
}

bool CssSelectorParser::skipDelim(char c) {
    const bool found = peek().isDelim(c);
    if (found) ++m_position;
    return found;
}

void CssSelectorParser::add(StyleMatchType type, std::string_view name) {
    m_tree.parts.push_back({type, name});
}

/// Reads compound selectors and the combinators between them.
bool CssSelectorParser::selector() {
    const uint32 begin = cssIndex(m_tree.parts);
    do {
        if (!compound()) return fail();
    } while (combinator());
    m_tree.selectors.push_back({begin, cssIndex(m_tree.parts)});
    return true;
}

/// Reads a combinator. @return false at the end of a selector.
bool CssSelectorParser::combinator() {
    const bool hasSpace = skip(CssTokenType::Whitespace);
    const CssToken& next = peek();
    if (next.type == CssTokenType::End || next.type == CssTokenType::Comma) return false;
    if (next.isDelim('>') || next.isDelim('+') || next.isDelim('~')) {
        add(StyleMatchType::Combinator, next.text);
        ++m_position;
    } else if (next.isDelim('|') && peek(1).isDelim('|')) {
        add(StyleMatchType::Combinator, "||");
        m_position += 2;
    } else if (hasSpace) {
        add(StyleMatchType::Combinator, " ");
    } else {
        return false;
    }
    skip(CssTokenType::Whitespace);
    return true;
}

/// Reads a name or conditions or both.
bool CssSelectorParser::compound() {
    const size_t begin = m_position;
    if (!typeSelector()) return false;
    for (;;) {
        const size_t before = m_position;
        if (!condition()) return false;
        if (m_position == before) return m_position > begin;
    }
}

/// Reads a name or an asterisk, perhaps with a namespace. @return false after a namespace without a name.
bool CssSelectorParser::typeSelector() {
    for (bool hasNamespace = false;;) {
        const CssToken& first = peek();
        const bool isName = first.type == CssTokenType::Ident;
        const bool isUniversal = first.isDelim('*');
        const size_t bar = isName || isUniversal ? 1 : 0;
        if (!hasNamespace && peek(bar).isDelim('|') && !peek(bar + 1).isDelim('|')) {
            add(StyleMatchType::Namespace, bar == 1 ? first.text : std::string_view());
            m_position += bar + 1;
            hasNamespace = true;
            continue;
        }
        if (isName) add(StyleMatchType::Tag, first.text);
        if (isUniversal) add(StyleMatchType::Universal, first.text);
        m_position += bar;
        return bar == 1 || !hasNamespace;
    }
}

/// Reads an id, class, attribute or pseudo-class, if there is one. @return false after a malformed one.
bool CssSelectorParser::condition() {
    const CssToken& token = peek();
    if (token.type == CssTokenType::Hash) {
        add(StyleMatchType::Id, token.text);
        ++m_position;
        return token.isId;
    }
    if (skipDelim('.')) {
        add(StyleMatchType::Class, peek().text);
        return skip(CssTokenType::Ident);
    }
    if (skip(CssTokenType::Colon)) return pseudo();
    if (skip(CssTokenType::OpenSquare)) return attribute();
    return true;
}

/// Reads what follows a colon.
bool CssSelectorParser::pseudo() {
    const bool isElement = skip(CssTokenType::Colon);
    const CssToken& token = peek();
    if (skip(CssTokenType::Function)) {
        add(StyleMatchType::PseudoClass, token.text);
        skipArguments();
        return true;
    }
    add(isElement || isOldPseudoElement(token.text) ? StyleMatchType::PseudoElement
                                                    : StyleMatchType::PseudoClass,
        token.text);
    return skip(CssTokenType::Ident);
}

/// Reads what follows an opening square bracket: a name and perhaps a comparison.
bool CssSelectorParser::attribute() {
    skip(CssTokenType::Whitespace);
    const bool hasNamespace = (peek().type == CssTokenType::Ident || peek().isDelim('*')) &&
                              peek(1).isDelim('|') && peek(2).type == CssTokenType::Ident;
    if (hasNamespace) m_position += 2;
    if (!hasNamespace) skipDelim('|');
    add(StyleMatchType::Attribute, peek().text);
    if (!skip(CssTokenType::Ident)) return false;
    skip(CssTokenType::Whitespace);
    if (skip(CssTokenType::CloseSquare)) return true;
    for (const char c : {'~', '|', '^', '$', '*'}) {
        if (skipDelim(c)) break;
    }
    if (!skipDelim('=')) return false;
    skip(CssTokenType::Whitespace);
    if (!skip(CssTokenType::Ident) && !skip(CssTokenType::String)) return false;
    skip(CssTokenType::Whitespace);
    if (skip(CssTokenType::Ident)) skip(CssTokenType::Whitespace); // how letters are compared
    return skip(CssTokenType::CloseSquare);
}

/// Passes over the arguments of a function and its closing parenthesis.
void CssSelectorParser::skipArguments() {
    for (size_t depth = 1; depth > 0 && m_position < m_tokens.size(); ++m_position) {
        switch (peek().type) {
        case CssTokenType::Function:
        case CssTokenType::OpenRound:
        case CssTokenType::OpenSquare:
        case CssTokenType::OpenCurly:
            ++depth;
            break;
        case CssTokenType::CloseRound:
        case CssTokenType::CloseSquare:
        case CssTokenType::CloseCurly:
            --depth;
            break;
        default:
            break;
        }
    }
}

bool CssSelectorParser::fail() {
    m_tree.errors.add(m_position < m_tokens.size() ? peek().offset : m_end, "not a selector");
    return false;
}

} // namespace qel::internal
