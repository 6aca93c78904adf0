// FontFace: a face of FreeType in one size.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/system/core/work_limit.h>
#include <qel/text/fonts/font.h>
#include <qel/text/fonts/ft_library_singleton_p.h>

#include <memory>
#include <optional>

namespace qel::internal {

/// A face and its slot for one glyph. The processor time that a file takes is limited: once it has taken a
/// second more than its glyphs and kernings explain, which is logged, it has no further ones.
class FontFace {
public:
    /// The lines of a font in whole pixels.
    struct LineMetrics {
        int lineHeight = 0;
        int ascent = 0; ///< from the baseline to the top; negative
    };

    /// Opens the first face. @return null, logged as an error, if that fails. @p file must outlive the face.
    static std::unique_ptr<FontFace> open(FTLibrarySingleton& library, ConstByteSpan file, int size);
    ~FontFace();

    LineMetrics lineMetrics() const;
    FontStyle style() const;
    int unitsPerEm() const;
    /// Returns the pixels per font unit.
    double scale() const;
    /// Returns true if the file has a table of kernings.
    bool hasKerning() const { return FT_HAS_KERNING(m_face); }
    /// Returns the kerning of two code points in pixels; 0 if the face lacks one of them.
    int kerning(uint32 first, uint32 second);

    /// Returns true if @p index is the number of a glyph.
    bool hasGlyph(uint32 index) const { return FT_Long{index} < m_face->num_glyphs; }
    /// Returns the number of the glyph of a code point; 0 if the face lacks it.
    uint32 glyphIndex(uint32 codePoint) const;
    /// Loads a glyph into the slot. @return the size that it will have, or nothing if it cannot be loaded.
    std::optional<IVec2<int>> loadGlyph(uint32 index);
    /// Draws the loaded glyph. @return false if it cannot be drawn.
    bool drawGlyph();
    /// Copies the glyph's metrics.
    void readMetrics(Font::Character& character) const;
    /// Copies the drawn glyph's pixels as alpha. @return false for pixels of an unknown kind.
    bool copyPixels(uint8* target, size_t targetPitch) const;

private:
    FontFace(FTLibrarySingleton& library, FT_Face face) : m_library(&library), m_face(face) {}

    bool setSize(int size);
    void endWork(double explainedSeconds);

    SmartPointer<FTLibrarySingleton> m_library;
    FT_Face m_face;
    FT_Int32 m_loadFlags = FT_LOAD_DEFAULT;
    WorkLimit m_work;
    bool m_isSlow = false;
};

} // namespace qel::internal
