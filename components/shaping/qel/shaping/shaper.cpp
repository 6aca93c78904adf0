#include <qel/shaping/shaper.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/shaping/face_shaper_p.h>
#include <qel/shaping/segment_cache_p.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace qel {

namespace {

using internal::FaceShaper;
using internal::Segment;
using internal::SegmentKey;
using internal::SegmentReader;

constexpr std::size_t kMaxFaces = 255; // what a number of a glyph can state

/// Shapes the runs of a font with its own file and with those of its fallback fonts.
class Shaper {
public:
    explicit Shaper(TrueTypeFont& font) : m_font(font) {}

    bool shape(const ShapingRun& run, ShapedRun& answer) {
        openFaces();
        answer.advances.assign(run.codePoints.size(), 0);
        answer.glyphs.clear();
        SegmentReader reader(run.codePoints, static_cast<uint32>(m_faces.size()), m_hasGlyph);
        for (Segment segment; reader.read(segment);) shapeSegment(run, segment, answer);
        return true;
    }

private:
    /// Returns font @p number: the font itself for 0, otherwise a fallback font.
    TrueTypeFont& fontOf(std::size_t number) {
        return number == 0 ? m_font : *m_font.getFallbackFonts()[number - 1];
    }
    /// Opens the files that the fonts have loaded since the last run.
    void openFaces() {
        const std::size_t count = std::min(1 + m_font.getFallbackFonts().size(), kMaxFaces);
        if (count != m_faces.size()) m_cache.clear();
        m_faces.resize(count);
        for (std::size_t i = 0; i < count; ++i) {
            if (m_faces[i] && m_faces[i]->isOf(fontOf(i))) continue;
            m_faces[i] = std::make_unique<FaceShaper>(fontOf(i));
            m_cache.clear();
        }
    }
    void shapeSegment(const ShapingRun& run, const Segment& segment, ShapedRun& answer) {
        const bool hasFace = segment.face < m_faces.size() && m_faces[segment.face]->isUsable();
        if (!hasFace) return takeUsualGlyphs(run, segment, answer);
        const std::optional<SegmentKey> key = SegmentKey::of(run, segment);
        if (key && m_cache.find(*key, segment, answer)) return;
        const std::size_t firstGlyph = answer.glyphs.size();
        if (m_faces[segment.face]->shape(run, segment, answer)) {
            finishSegment(run, segment, answer, std::span(answer.glyphs).subspan(firstGlyph));
            if (key) m_cache.keep(*key, segment, answer, firstGlyph);
            return;
        }
        logging::warning() << "Shaping a text takes too much work with the font: "
                           << fontOf(segment.face).getResourceName();
        takeUsualGlyphs(run, segment, answer);
    }
    /// Turns the numbers of glyphs in a file into those of the font.
    void finishSegment(const ShapingRun& run, const Segment& segment, ShapedRun& answer,
                       std::span<ShapedGlyph> glyphs) {
        if (internal::hasSeparateLetters(segment.script))
            for (std::size_t first = 0, end = 0; first < glyphs.size(); first = end) {
                while (end < glyphs.size() && glyphs[end].character == glyphs[first].character) ++end;
                takeDrawnAdvance(run, segment.face, answer, glyphs.subspan(first, end - first));
            }
        for (ShapedGlyph& glyph : glyphs) glyph.index = numberOf(run, segment.face, glyph);
    }
    /// Returns the number of a glyph of a file for the font. The usual glyphs of the font's own characters
    /// are drawn only once, even if other texts are not shaped.
    uint32 numberOf(const ShapingRun& run, uint32 face, const ShapedGlyph& glyph) const {
        const bool isUsual = face == 0 && glyph.index == m_faces[0]->glyphOf(run.codePoints[glyph.character]);
        return isUsual ? 0 : face * TrueTypeFont::kFallbackGlyph + glyph.index;
    }
    /// Replaces the exact advance of a cluster by that of its glyphs as they are drawn, which is in whole
    /// pixels, and rounds the kerning: small letters are spaced evenly then.
    void takeDrawnAdvance(const ShapingRun& run, uint32 face, ShapedRun& answer,
                          std::span<ShapedGlyph> cluster) {
        const uint32 character = cluster.front().character;
        const float exact = answer.advances[character];
        float kerning = exact;
        float drawn = 0;
        for (const ShapedGlyph& glyph : cluster) {
            const uint32 number = numberOf(run, face, glyph);
            const Font::Character* const picture =
                number != 0 ? m_font.getGlyph(number) : m_font.getCharacter(run.codePoints[character]);
            if (picture == nullptr) return;
            drawn += picture->xAdvance;
            kerning -= m_faces[face]->advanceOf(glyph.index);
        }
        const float advance = drawn + std::round(kerning);
        answer.advances[character] = advance;
        if (!run.isRightToLeft) return;
        for (ShapedGlyph& glyph : cluster) glyph.x += exact - advance; // the left edge has moved
    }
    void takeUsualGlyphs(const ShapingRun& run, const Segment& segment, ShapedRun& answer) {
        for (std::size_t i = segment.first; i < segment.first + segment.count; ++i) {
            const Font::Character* const glyph = m_font.getCharacter(run.codePoints[i]);
            const float advance = glyph != nullptr ? glyph->xAdvance : 0;
            answer.advances[i] = advance;
            answer.glyphs.push_back({static_cast<uint32>(i), 0, run.isRightToLeft ? -advance : 0, 0});
        }
    }

    TrueTypeFont& m_font;
    std::vector<std::unique_ptr<FaceShaper>> m_faces;
    internal::SegmentCache m_cache; ///< holds for these faces
    const SegmentReader::HasGlyph m_hasGlyph = [this](uint32 face, uint32 codePoint) {
        return m_faces[face]->glyphOf(codePoint) != 0;
    };
};

} // namespace

void connectShaper(TrueTypeFont& font) {
    const auto shaper = std::make_shared<Shaper>(font);
    font.delegateShapeRun.connect(
        [shaper](const ShapingRun& run, ShapedRun& answer) { return shaper->shape(run, answer); });
}

} // namespace qel
