#include <qel/style/css_parser_p.h>

#include <qel/style/css_selector_parser_p.h>

#include <utility>

namespace qel::internal {

namespace {

constexpr const char* kUnclosed = "the bracket is not closed";
constexpr const char* kUnopened = "a closing bracket without an opening one";

/// Returns the bracket that closes @p type, or the end for anything but an opening bracket.
CssTokenType closerOf(CssTokenType type) {
    switch (type) {
    case CssTokenType::Function:
    case CssTokenType::OpenRound:
        return CssTokenType::CloseRound;
    case CssTokenType::OpenSquare:
        return CssTokenType::CloseSquare;
    case CssTokenType::OpenCurly:
        return CssTokenType::CloseCurly;
    default:
        return CssTokenType::End;
    }
}

bool isClosing(CssTokenType type) {
    return type == CssTokenType::CloseRound || type == CssTokenType::CloseSquare ||
           type == CssTokenType::CloseCurly;
}

StyleRuleType typeOfAtRule(std::string_view name) {
    constexpr std::pair<std::string_view, StyleRuleType> kTypes[] = {
        {"media", StyleRuleType::Media},        {"supports", StyleRuleType::Supports},
        {"font-face", StyleRuleType::FontFace}, {"keyframes", StyleRuleType::Keyframes},
        {"page", StyleRuleType::Page},          {"namespace", StyleRuleType::Namespace},
    };
    for (const auto& [known, type] : kTypes) {
        if (known == name) return type;
    }
    return StyleRuleType::Unknown;
}

StyleUnit unitOf(const CssToken& token) {
    switch (token.type) {
    case CssTokenType::Ident:
        return StyleUnit::Identifier;
    case CssTokenType::Hash:
        return StyleUnit::HexColor;
    case CssTokenType::String:
        return StyleUnit::String;
    case CssTokenType::Url:
        return StyleUnit::Uri;
    case CssTokenType::Number:
        return StyleUnit::Number;
    case CssTokenType::Percentage:
        return StyleUnit::Percentage;
    case CssTokenType::Dimension:
        if (token.text == "px") return StyleUnit::Pixels;
        return token.text == "em" ? StyleUnit::Ems : StyleUnit::Dimension;
    case CssTokenType::Function:
        return StyleUnit::Function;
    case CssTokenType::OpenRound:
    case CssTokenType::OpenSquare:
    case CssTokenType::OpenCurly:
        return StyleUnit::Block;
    case CssTokenType::Delim:
    case CssTokenType::Colon:
    case CssTokenType::Semicolon:
    case CssTokenType::Comma:
        return StyleUnit::Operator;
    default:
        return StyleUnit::Other;
    }
}

} // namespace

CssTree::CssTree(ConstByteSpan bytes) : text(bytes.size <= kMaxBytes ? bytes : ConstByteSpan()) {
    if (bytes.size > kMaxBytes) errors.add(0, "the stylesheet is larger than 16 MiB");
    CssParser(*this).parse();
}

void CssParser::parse() {
    for (;;) {
        const CssToken token = next();
        switch (token.type) {
        case CssTokenType::End:
            return;
        case CssTokenType::Whitespace:
        case CssTokenType::Cdo:
        case CssTokenType::Cdc:
            break;
        case CssTokenType::AtKeyword:
            atRule(token);
            break;
        default:
            qualifiedRule(token);
        }
    }
}

CssToken CssParser::next() {
    return std::exchange(m_hasPutBack, false) ? m_putBack : m_tokenizer.next();
}

CssToken CssParser::nextNonSpace() {
    for (;;) {
        const CssToken token = next();
        if (token.type != CssTokenType::Whitespace) return token;
    }
}

/// Remembers an opening bracket. @return false for any other token.
bool CssParser::open(const CssToken& token, uint32 value) {
    const CssTokenType closer = closerOf(token.type);
    if (closer == CssTokenType::End) return false;
    m_open.push_back({closer, token.offset, value});
    return true;
}

/// Removes the innermost bracket if @p token closes it, and reports any other closing bracket.
/// @return true if a bracket was removed.
bool CssParser::close(const CssToken& token) {
    if (!isClosing(token.type)) return false;
    if (m_open.size() > m_base && m_open.back().closer == token.type) {
        m_open.pop_back();
        return true;
    }
    m_tree.errors.add(token.offset, kUnopened);
    return false;
}

/// Removes all open brackets but the first @p depth and reports them.
void CssParser::reportUnclosed(size_t depth) {
    for (size_t i = depth; i < m_open.size(); ++i) m_tree.errors.add(m_open[i].offset, kUnclosed);
    m_open.resize(depth);
}

void CssParser::qualifiedRule(const CssToken& first) {
    const size_t errors = m_tree.errors.size();
    if (!readPrelude(first)) {
        m_tree.errors.add(first.offset, "a rule without a block");
        return;
    }
    CssRule rule = {
        StyleRuleType::Style, {cssIndex(m_tree.selectors), 0}, {cssIndex(m_tree.declarations), 0}};
    // A bracket or string that is wrong is no selector either, which need not be said twice.
    if (errors == m_tree.errors.size()) CssSelectorParser(m_prelude, m_open.back().offset, m_tree).parse();
    rule.selectors.end = cssIndex(m_tree.selectors);
    declarations();
    rule.declarations.end = cssIndex(m_tree.declarations);
    m_tree.rules.push_back(rule);
}

/// Reads the tokens before a block and its opening bracket. @return false if there is no block.
bool CssParser::readPrelude(CssToken token) {
    m_prelude.clear();
    for (; token.type != CssTokenType::End; token = next()) {
        const bool isBlock = m_open.empty() && token.type == CssTokenType::OpenCurly;
        if (!open(token)) close(token);
        if (isBlock) return true;
        m_prelude.push_back(token);
    }
    reportUnclosed(0);
    return false;
}

void CssParser::atRule(const CssToken& keyword) {
    skipAtRule(keyword, false);
    const std::string_view name = m_tree.text.lowerCase(keyword.text);
    if (name == "import") {
        if (m_tree.imports.size() < CssTree::kMaxImports) m_tree.imports.push_back(keyword.offset);
    } else if (name != "charset") { // which only states the encoding
        const uint32 selectors = cssIndex(m_tree.selectors);
        const uint32 declarations = cssIndex(m_tree.declarations);
        m_tree.rules.push_back({typeOfAtRule(name), {selectors, selectors}, {declarations, declarations}});
    }
}

/// Passes over a rule to its semicolon or the end of its block.
/// @param isNested  the rule is part of a block, whose end is put back.
bool CssParser::skipAtRule(const CssToken& keyword, bool isNested) {
    const size_t depth = m_open.size();
    const size_t base = std::exchange(m_base, depth);
    bool isWhole = false;
    for (;;) {
        const CssToken token = next();
        const bool isOutside = m_open.size() == depth;
        if (token.type == CssTokenType::End) break;
        isWhole = isOutside && token.type == CssTokenType::Semicolon;
        if (isWhole) break;
        if (isOutside && token.type == CssTokenType::OpenCurly) {
            skipBlock(token);
            isWhole = true;
            break;
        }
        if (isOutside && isNested && token.type == CssTokenType::CloseCurly) {
            putBack(token);
            isWhole = true;
            break;
        }
        if (!open(token)) close(token);
    }
    reportUnclosed(depth);
    m_base = base;
    if (!isWhole) m_tree.errors.add(keyword.offset, "the rule is not finished");
    return isWhole;
}

/// Passes over a balanced block without looking for errors in it.
void CssParser::skipBlock(const CssToken& bracket) {
    const size_t depth = m_open.size();
    open(bracket);
    m_tree.errors.setMuted(true);
    while (m_open.size() > depth) {
        const CssToken token = next();
        if (token.type == CssTokenType::End) break;
        if (!open(token)) close(token);
    }
    m_tree.errors.setMuted(false);
    if (m_open.size() > depth) m_open.resize(depth + 1); // only the outermost one is reported
    reportUnclosed(depth);
}

/// Reads declarations to the end of the block whose bracket has been opened.
void CssParser::declarations() {
    m_base = m_open.size();
    for (;;) {
        const CssToken token = next();
        switch (token.type) {
        case CssTokenType::End:
            m_base = 0;
            reportUnclosed(0);
            return;
        case CssTokenType::CloseCurly:
            m_base = 0;
            m_open.clear();
            return;
        case CssTokenType::Whitespace:
        case CssTokenType::Semicolon:
            break;
        case CssTokenType::AtKeyword:
            skipAtRule(token, true);
            break;
        default:
            declaration(token);
        }
    }
}

void CssParser::declaration(const CssToken& name) {
    CssDeclaration result;
    result.values.begin = cssIndex(m_tree.values);
    const CssToken colon = name.type == CssTokenType::Ident ? nextNonSpace() : name;
    const bool isDeclaration = colon.type == CssTokenType::Colon && name.type == CssTokenType::Ident;
    if (!isDeclaration) {
        m_tree.errors.add(name.offset, name.type == CssTokenType::Ident ? "a declaration without a colon"
                                                                        : "a declaration without a name");
        putBack(colon);
    }
    readValues();
    if (!isDeclaration) {
        m_tree.values.resize(result.values.begin);
        return;
    }
    result.values.end = cssIndex(m_tree.values);
    cutImportant(result.values);
    result.property = name.text.starts_with("--") ? name.text : m_tree.text.lowerCase(name.text);
    m_tree.declarations.push_back(result);
}

/// Returns true for what follows the last value of a declaration.
bool CssParser::endsDeclaration(const CssToken& token) const {
    if (token.type == CssTokenType::End) return true;
    return m_open.size() == m_base &&
           (token.type == CssTokenType::Semicolon || token.type == CssTokenType::CloseCurly);
}

/// Adds values to the tree; what ends the declaration is put back.
void CssParser::readValues() {
    for (;;) {
        const CssToken token = next();
        if (!endsDeclaration(token)) {
            addValue(token);
            continue;
        }
        while (m_open.size() > m_base) { // at the end of the text
            closeValue(m_open.back().value);
            m_tree.errors.add(m_open.back().offset, kUnclosed);
            m_open.pop_back();
        }
        putBack(token);
        return;
    }
}

void CssParser::addValue(const CssToken& token) {
    if (token.type == CssTokenType::Whitespace) return;
    const uint32 index = cssIndex(m_tree.values);
    const bool isOpening = open(token, index);
    if (isClosing(token.type)) {
        const uint32 opened = m_open.back().value;
        if (close(token)) closeValue(opened);
        return;
    }
    m_tree.values.push_back({unitOf(token), token.number, index + 1, token.text});
    if (isOpening && token.type == CssTokenType::Function) // the tokenizer keeps the case of names
        m_tree.values.back().text = m_tree.text.lowerCase(token.text);
}

/// Ends a function or block; a URL in quotes becomes a URI.
void CssParser::closeValue(uint32 index) {
    CssValue& value = m_tree.values[index];
    value.end = cssIndex(m_tree.values);
    if (value.text != "url(" || value.unit != StyleUnit::Function || value.end != index + 2) return;
    const CssValue& argument = m_tree.values.back();
    if (argument.unit != StyleUnit::String) return;
    value.unit = StyleUnit::Uri;
    value.text = argument.text;
    value.end = index + 1;
    m_tree.values.pop_back();
}

/// Removes "!important" from the end of the values.
void CssParser::cutImportant(CssRange& values) {
    std::vector<CssValue>& all = m_tree.values;
    if (values.end - values.begin < 2) return;
    const CssValue& mark = all[values.end - 2];
    const CssValue& word = all[values.end - 1];
    if (mark.unit != StyleUnit::Operator || mark.text != "!" || word.unit != StyleUnit::Identifier ||
        m_tree.text.lowerCase(word.text) != "important")
        return;
    uint32 i = values.begin;
    while (i < values.end - 2) i = all[i].end;
    if (i != values.end - 2) return; // the mark is inside of brackets
    values.end -= 2;
    all.resize(values.end);
}

} // namespace qel::internal
