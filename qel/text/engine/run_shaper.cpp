#include <qel/text/engine/run_shaper_p.h>

#include <algorithm>
#include <cmath>

namespace qel::internal {

namespace {

constexpr double kFarthest = 32767;           // pixels, as for the glyphs of a font
constexpr size_t kMaxGlyphsPerCharacter = 32; // a font's longest composition has 18

/// Returns @p length within limits; 0 if it is not a number.
double limited(float length) {
    return std::isnan(length) ? 0 : std::clamp<double>(length, -kFarthest, kFarthest);
}

/// Returns true for tokens that change only how the characters of a run look.
bool continuesRun(Token::Type type) {
    switch (type) {
    case Token::Type::Color:
    case Token::Type::Bold:
    case Token::Type::Underline:
    case Token::Type::BarBegin:
    case Token::Type::BarEnd:
    case Token::Type::LineAlignment:
        return true;
    default:
        return false;
    }
}

/// Returns the tokens at the beginning of @p tokens that are one run.
std::span<const Token> firstRunOf(std::span<const Token> tokens) {
    const bool isRightToLeft = tokens.front().rightToLeft;
    const auto last = std::find_if(tokens.begin(), tokens.end(), [&](const Token& token) {
        return isCharacterOrSpace(token.type) ? token.rightToLeft != isRightToLeft
                                              : !continuesRun(token.type);
    });
    return {tokens.begin(), last};
}

} // namespace

void RunShaper::start(size_t end) {
    m_tokens.clear();
    m_glyphs.clear();
    m_end = end;
}

const ShapedToken* RunShaper::find(Font& font, std::span<const Token> tokens, size_t index) {
    if (m_tokens.empty()) m_first = index;
    if (index < m_first || index >= m_end) return nullptr;
    if (index - m_first >= m_tokens.size()) shape(font, tokens, index);
    const ShapedToken& found = m_tokens[index - m_first];
    return found.isShaped ? &found : nullptr;
}

std::span<const PlacedGlyph> RunShaper::glyphsOf(const ShapedToken& token) const {
    return std::span(m_glyphs).subspan(token.firstGlyph, token.glyphCount);
}

/// Asks the hook for the run that begins with token @p first.
void RunShaper::shape(Font& font, std::span<const Token> tokens, size_t first) {
    const std::span<const Token> run = firstRunOf(tokens.subspan(first, m_end - first));
    m_tokens.resize(first - m_first + run.size());
    m_codePoints.clear();
    for (const Token& token : run)
        if (isCharacterOrSpace(token.type)) m_codePoints.push_back(token.value);
    m_answer.advances.clear();
    m_answer.glyphs.clear();
    if (!font.delegateShapeRun.isConnected()) return; // it may be disconnected in the meantime
    const bool isShaped = font.delegateShapeRun({&font, m_codePoints, run.front().rightToLeft}, m_answer);
    if (isShaped && m_answer.advances.size() == m_codePoints.size()) keepAnswer(run);
}

/// Stores the answer for the last tokens, which are those of @p run.
void RunShaper::keepAnswer(std::span<const Token> run) {
    ShapedToken* shaped = m_tokens.data() + (m_tokens.size() - run.size());
    double pen = 0;
    int64 roundedPen = 0;
    uint32 character = 0;
    m_nextGlyph = 0;
    for (const Token& token : run) {
        ShapedToken& kept = *shaped++;
        if (!isCharacterOrSpace(token.type)) continue;
        kept.isShaped = true;
        kept.firstGlyph = static_cast<uint32>(m_glyphs.size());
        if (token.rightToLeft)
            keepGlyphs(character, -pen, -roundedPen);
        else
            keepGlyphs(character, pen, roundedPen);
        kept.glyphCount = static_cast<uint32>(m_glyphs.size()) - kept.firstGlyph;
        pen += limited(m_answer.advances[character++]);
        kept.advance = static_cast<int>(std::llround(pen) - roundedPen);
        roundedPen = std::llround(pen);
    }
}

/// Stores the glyphs of @p character. Those out of order and beyond the run are left out.
/// @param pen  from the beginning of the run to the character; to the right.
void RunShaper::keepGlyphs(uint32 character, double pen, int64 roundedPen) {
    const size_t count = m_codePoints.size();
    const size_t end = std::min(m_answer.glyphs.size(), count * kMaxGlyphsPerCharacter);
    for (; m_nextGlyph < end; ++m_nextGlyph) {
        const ShapedGlyph& glyph = m_answer.glyphs[m_nextGlyph];
        if (glyph.character > character && glyph.character < count) return;
        if (glyph.character != character) continue;
        const int64 x = std::llround(pen + limited(glyph.x)) - roundedPen;
        m_glyphs.push_back(
            {glyph.index, static_cast<int>(x), static_cast<int>(std::lround(limited(glyph.y)))});
    }
}

} // namespace qel::internal
