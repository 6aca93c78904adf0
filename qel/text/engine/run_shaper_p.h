// RunShaper: asks the hooks of fonts for the glyphs of runs.
#pragma once

#include <qel/text/engine/token.h>
#include <qel/text/fonts/shaping.h>

#include <span>

namespace qel::internal {

/// What a hook chose for a character or a space.
struct ShapedToken {
    bool isShaped = false; ///< false if the token is drawn by its usual glyph
    int advance = 0;       ///< in pixels
    uint32 firstGlyph = 0; ///< index in the glyphs of the RunShaper
    uint32 glyphCount = 0; ///< glyphs of the token
};

/// A glyph that a hook chose, in whole pixels.
struct PlacedGlyph {
    uint32 index = 0; ///< for Font::getGlyph()
    int x = 0;        ///< from the pen in front of the token to the right
    int y = 0;        ///< from the baseline upwards
};

/// Keeps the answers of the hooks for adjacent tokens. Each run is asked for once, when its first token is
/// looked up.
///
/// A pen stops at whole pixels only: the exact advances of a run are added up and the sums are rounded, so
/// that the width of the run is right to half a pixel.
class RunShaper {
public:
    /// Forgets all answers. Runs end in front of token @p end.
    void start(size_t end);
    /// Returns the answer for token @p index, a character or a space that @p font draws; null if the hook
    /// refused the run. After start(), a new run must follow those that are known.
    const ShapedToken* find(Font& font, std::span<const Token> tokens, size_t index);
    /// Returns the glyphs of @p token. They end with the next new run.
    std::span<const PlacedGlyph> glyphsOf(const ShapedToken& token) const;

private:
    void shape(Font& font, std::span<const Token> tokens, size_t first);
    void keepAnswer(std::span<const Token> run);
    void keepGlyphs(uint32 character, double pen, int64 roundedPen);

    size_t m_first = 0; ///< the token that m_tokens begins with
    size_t m_end = 0;
    Vector<ShapedToken> m_tokens;
    Vector<PlacedGlyph> m_glyphs;
    Vector<uint32> m_codePoints; ///< of the run that a hook is asked for
    ShapedRun m_answer;
    size_t m_nextGlyph = 0; ///< of the answer
};

/// Returns true for the tokens that runs consist of.
constexpr bool isCharacterOrSpace(Token::Type type) {
    return type == Token::Type::Character || type == Token::Type::Space;
}

} // namespace qel::internal
