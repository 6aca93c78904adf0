#include <qel/text/engine/text_actor.h>

#include <qel/text/engine/markdown.h>
#include <qel/text/engine/text_reader_p.h>

#include <utility>

namespace qel {

TextActor& TextActor::setText(SmartCStr text) {
    if (text == m_text) return *this;
    m_text = text;
    m_dirty |= kDirtyTokens;
    return *this;
}

TextActor& TextActor::setText(const String& text) {
    if (text == m_text) return *this;
    m_text = text;
    m_dirty |= kDirtyTokens;
    return *this;
}

TextActor& TextActor::setParser(Parser parser) {
    if (parser != m_parser) m_dirty |= kDirtyTokens;
    m_parser = parser;
    return *this;
}

TextActor& TextActor::setTrimEOT(bool trim) {
    if (trim != m_trimEOT) m_dirty |= kDirtyTokens;
    m_trimEOT = trim;
    return *this;
}

String TextActor::getPlainText() const {
    if (m_parser == Parser::ControlCodes) return m_text.transformControlCodesToPlainText(nullptr);
    if (m_parser != Parser::Markdown) return m_text;
    String compiled;
    util::parseMarkdown(compiled, m_text);
    return compiled.transformControlCodesToPlainText(nullptr);
}

Token& TextActor::pushToken(Token::Type type) {
    m_dirty |= kDirtyGlyphs;
    return internal::TextReader(*this).append(type);
}

bool TextActor::parseControlCode(SmartCStr code, String* replacement, std::set<std::string>* parsedTrs) {
    m_dirty |= kDirtyGlyphs;
    return internal::TextReader(*this).runCode(code, {replacement, parsedTrs});
}

Vector<String> TextActor::getControlCodes() {
    Vector<String> names;
    for (const internal::TextReader::ControlCode& code : internal::TextReader::controlCodes())
        names.emplace_back(code.name);
    return names;
}

void TextActor::clearTokens() {
    m_tokens = {};
    m_tokenTail = {};
}

void TextActor::parseToTokens() {
    m_tokens.clear();
    m_tokenTail = {};
    m_mayHoldRightToLeft = false;
    String text = m_text;
    if (m_parser == Parser::Markdown) util::parseMarkdown(text, text);
    internal::TextReader(*this).read(std::move(text));
}

} // namespace qel
