// Font: the abstract source of the glyphs that texts consist of.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <unordered_map>

namespace qel {

class Sprite;

/// The style of a font.
enum class FontStyle : int {
    Regular = 0,    ///< upright, of normal weight
    Monospaced = 1, ///< all characters have the same advance
    Italic = 2,     ///< slanted
    Bold = 3,       ///< heavy
    Light = 4,      ///< thin
};

/// A source of glyphs in one size and style. The glyphs are parts of pages, which are sprites.
///
/// A code point that the font lacks is shown by a picture from System::delegateRenderGlyph, otherwise by a
/// bullet (U+2022).
/// @threads main thread; System must exist.
class QEL_API Font : public Object {
    QEL_CLASS(Font, Object)

public:
    /// The page of a Character that has not been filled.
    static constexpr uint32 kNoPage = 0xFFFFFFFF;

    /// A glyph and where it is placed relative to the pen. Lengths are in pixels.
    struct Character {
        float uMin = 0;        ///< left edge in the page, in texture coordinates
        float vMin = 0;        ///< top edge in the page
        float uMax = 0;        ///< right edge in the page
        float vMax = 0;        ///< bottom edge in the page
        uint32 page = kNoPage; ///< index for getPage()
        uint16 x = 0;          ///< left edge in the page in pixels, as stated by a bitmap font
        uint16 y = 0;          ///< top edge in the page in pixels, as stated by a bitmap font
        int16 width = 0;       ///< of the glyph
        int16 height = 0;      ///< of the glyph
        int16 xOffset = 0;     ///< from the pen to the glyph's left edge
        int16 yOffset = 0;     ///< from the baseline to the glyph's top edge; negative is up
        int16 xAdvance = 0;    ///< by which the pen moves on
        uint8 channel = 0;     ///< the channels of the page that hold the glyph; 0 for a picture
    };

    ~Font() override;

    /// Returns the distance between two baselines in pixels; 0 if the font has not been loaded.
    virtual int getLineHeight() const = 0;
    /// Returns the style of the font.
    virtual FontStyle getStyle() const = 0;
    /// Returns the glyph of @p codePoint, that of the bullet if the font lacks it, or null if the font lacks
    /// the bullet too.
    /// @owner the font; the pointer is valid until unload() of an outline font.
    virtual const Character* getCharacter(uint32 codePoint) = 0;
    /// Returns the pixels by which the pen moves between two adjacent characters, in addition to the advance.
    virtual int getKerning(uint32 first, uint32 second) = 0;

    /// Returns the distance from the baseline to the top of a line in pixels; negative.
    int getAscent() const { return m_ascent; }
    /// Returns the distance from the baseline to the bottom of a line in pixels: the ascent plus the line
    /// height.
    int getDescent() const { return m_descent; }
    /// Returns the height of the glyph of 'x' in pixels.
    int getXHeight() const { return m_xHeight; }
    /// Returns the height of the glyph of 'A' in pixels.
    int getCapitalHeight() const { return m_capitalHeight; }
    /// Returns the height of 'x' and that of 'A', which identify the font for System::delegateRenderGlyph.
    const IVec2<int>& getFontDescriptor() const { return m_descriptor; }
    /// Returns the page @p index, or null if it does not exist.
    Sprite* getPage(uint32 index) const;

protected:
    Font();

    int m_ascent = 0;                                   ///< see getAscent()
    int m_descent = 0;                                  ///< see getDescent()
    Vector<SmartPointer<Sprite>> m_pages;               ///< the pages by index
    std::unordered_map<uint32, Character> m_characters; ///< by code point; the addresses are stable
    int16 m_xHeight = 0;                                ///< see getXHeight()
    int16 m_capitalHeight = 0;                          ///< see getCapitalHeight()
    IVec2<int> m_descriptor;                            ///< see getFontDescriptor()
};

} // namespace qel
