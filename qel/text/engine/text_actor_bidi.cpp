#include <qel/text/engine/text_actor.h>

#include <qel/foundation/base/bidi_analysis.h>
#include <qel/text/engine/bidi_class_p.h>

#include <algorithm>

namespace qel {
namespace {

using internal::BidiClass;

BidiClass classOf(const Token& token) {
    switch (token.type) {
    case Token::Type::Character:
        return internal::bidiClassOf(token.value);
    case Token::Type::LineEnd:
    case Token::Type::ParagraphEnd:
    case Token::Type::TextEnd:
        return BidiClass::B;
    default:
        return BidiClass::WS;
    }
}

} // namespace

void TextActor::reorderTokens() {
    if (!m_mayHoldRightToLeft) return;
    Vector<BidiClass> classes(m_tokens.size());
    std::transform(m_tokens.begin(), m_tokens.end(), classes.begin(), classOf);
    Vector<uint8> levels(classes.size());
    internal::findBidiLevels(classes, levels, internal::BidiSpaceRule::Keep);
    for (std::size_t i = 0; i < levels.size(); ++i) m_tokens[i].rightToLeft = levels[i] % 2 == 1;
}

} // namespace qel
