// TrueTypeFont: a font whose glyphs are drawn when they are needed.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/text/fonts/font.h>

#include <memory>

namespace qel {

/// Draws the outlines of a font file in one size. The glyphs are placed in pages of 256 x 256 pixels in the
/// format A8. The file's bytes are shared by all sizes of a resource and kept for the life of the process.
///
/// A font without a face, because loading has failed or has not finished, has a line height of 0 and neither
/// glyphs nor kerning. A file that takes far more processor time than real ones is reported once as a
/// warning, and its glyphs that have not been drawn are missing from then on.
/// @threads main thread; System must exist.
class QEL_API TrueTypeFont final : public Font {
    QEL_CLASS(TrueTypeFont, Font)

public:
    /// The width and height of the pages in pixels. Larger glyphs are not drawn.
    static constexpr int kPageSize = 256;
    /// getGlyph(n * kFallbackGlyph + i) returns glyph i of the n-th fallback font, n = 1 for the first one.
    static constexpr uint32 kFallbackGlyph = 1 << 24;

    /// Creates a font without a face. It listens to System::signalFreeCaches; one that is kept for a second
    /// System listens to it from the next glyph on that it draws.
    TrueTypeFont();
    ~TrueTypeFont() override;

    /// Loads a font from a copy of @p file.
    /// @param size  the height in pixels from the lowest descender to the highest ascender, which is more
    ///              than that of the em; below 1 loading fails.
    /// @return false, logged as an error, if the file is not a font that FreeType reads, has no Unicode
    ///         character map or cannot be drawn in this size; the font then has no face.
    bool loadFromMemory(ConstByteSpan file, int size);
    /// Loads a font from the resource @p name; otherwise as loadFromMemory().
    /// @errors a resource that cannot be read is logged as an error.
    bool loadFromResource(SmartCStr name, int size);
    /// As loadFromResource() if the resource is in memory; otherwise requests it from the providers that
    /// answer later. All fonts that wait for a resource share one request. The answer is ignored if the font
    /// has been loaded again in the meantime.
    /// @return false if no provider accepts the request, or if the resource is in memory and is not a font.
    bool loadFromResourceAsync(SmartCStr name, int size);

    /// Returns the size that was passed when the font was last loaded or requested; 0 before.
    int getSize() const { return m_size; }
    /// Returns true if the font has a face.
    bool isLoaded() const;
    /// Returns the name of the resource that the font was loaded from or waits for; empty for a font from
    /// memory.
    const String& getResourceName() const { return m_resourceName; }

    /// Sets the fonts that are asked, in this order, for a glyph that this one lacks, before a picture is
    /// requested. Their glyphs are drawn in the size of the fonts and placed in the pages of this one; their
    /// own fallback fonts do not count. Empty initially. Drops all glyphs, as unload() does, unless the fonts
    /// are the same as before.
    /// @owner keeps references, so that two fonts must not ask each other; this font itself and null are
    /// ignored.
    void setFallbackFonts(const Vector<SmartPointer<TrueTypeFont>>& fonts);
    /// Returns the fonts that are asked for glyphs which this one lacks.
    const Vector<SmartPointer<TrueTypeFont>>& getFallbackFonts() const;

    /// Drops all glyphs and pages; they are drawn again when they are needed. Does nothing if the deadline of
    /// the frame is exceeded. Pointers to characters become invalid; sprites that are held stay valid.
    void unload();

    /// Returns the bytes of the font file, for a shaper; empty without a face. Valid until the font is loaded
    /// again or destroyed.
    ConstByteSpan getFileBytes() const;
    /// Returns the number of the face in the file, which is always the first one: 0.
    int getFaceIndex() const { return 0; }
    /// Returns the number of font units in an em; 0 without a face, or if the font has no outlines.
    int getUnitsPerEm() const;
    /// Returns the pixels per font unit; 0 without a face, or if the font has no outlines.
    double getScale() const;

    int getLineHeight() const override { return m_lineHeight; }
    /// Returns Monospaced, Bold, Italic or Regular: the first that the file states, in this order.
    FontStyle getStyle() const override;
    uint32 getVersion() const override;
    int getKerning(uint32 first, uint32 second) override;
    /// Returns the glyph with the number @p index in the file of the font, or of a fallback font with
    /// kFallbackGlyph; null if it does not exist or cannot be drawn. The glyph is drawn in the size of its
    /// font and placed in the pages of this one.
    const Character* getGlyph(uint32 index) override;

protected:
    bool fetchGlyph(uint32 codePoint, Character& character) override;

private:
    struct Private;

    void listen();
    void reset(int size);
    bool open(ConstByteSpan file, int size);
    void finishLoading();
    void dropGlyphs();

    const std::unique_ptr<Private> m_private;
    String m_resourceName;
    int m_size = 0;
    int m_lineHeight = 0;
};

} // namespace qel
