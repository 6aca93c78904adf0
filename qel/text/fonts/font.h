// Font: the abstract source of the glyphs that texts consist of.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/delegate.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <array>
#include <unordered_map>

namespace qel {

class Sprite;
struct ShapedRun;
struct ShapingRun;

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
    /// The bullet, which is shown for every code point that the font lacks.
    static constexpr uint32 kBullet = 0x2022;

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
    /// the bullet too. Glyphs and pictures are kept; a picture that does not exist is requested again by each
    /// call.
    /// @owner the font; the pointer is valid until the font drops its glyphs, see TrueTypeFont.
    virtual const Character* getCharacter(uint32 codePoint);
    /// Returns the pixels by which the pen moves between two adjacent characters, in addition to the advance.
    virtual int getKerning(uint32 first, uint32 second) = 0;
    /// Returns the glyph with the number @p index in the font's file, which a ShapedRun contains; null if it
    /// does not exist. The glyphs of the base class and of bitmap fonts have no numbers.
    /// @owner as getCharacter().
    virtual const Character* getGlyph(uint32 index);

    /// Returns the distance from the baseline to the top of a line in pixels; negative.
    int getAscent() const { return m_ascent; }
    /// Returns the distance from the baseline to the bottom of a line in pixels: the ascent plus the line
    /// height.
    int getDescent() const { return m_descent; }
    /// Returns the height of the glyph of 'x' in pixels; 0 if the font lacks it.
    int getXHeight() const { return m_xHeight; }
    /// Returns the height of the glyph of 'A' in pixels; 0 if the font lacks it.
    int getCapitalHeight() const { return m_capitalHeight; }
    /// Returns the height of 'x' and that of 'A', which identify the font for System::delegateRenderGlyph.
    const IVec2<int>& getFontDescriptor() const { return m_descriptor; }
    /// Returns the page @p index, or null if it does not exist.
    Sprite* getPage(uint32 index) const;
    /// Returns a number that grows when texts in this font have to be laid out again: when the font is
    /// loaded, perhaps long after it was requested, and when its fallback fonts change.
    virtual uint32 getVersion() const { return m_version; }

    /// Replaces the glyphs of whole runs, for scripts whose letters join; text/fonts/shaping.h describes the
    /// arguments. Unconnected, or if it returns false, each code point has a glyph of its own. Connect it
    /// before the font is used: texts are not laid out again. The component qelCore::shaping connects a
    /// shaper to a TrueTypeFont.
    ///
    /// A layout calls it for each run of a line, and once more for each line that wraps, because letters join
    /// in another way at the end of a line. The listener must not change the text that is laid out.
    Delegate<bool(const ShapingRun&, ShapedRun&)> delegateShapeRun;

protected:
    Font();

    /// Finds or draws the font's own glyph of @p codePoint. @return false if the font lacks it. The
    /// base class always returns false.
    virtual bool fetchGlyph(uint32 codePoint, Character& character);
    /// Remembers the glyph of a code point, unless there is one already. @return the remembered one.
    const Character* keepCharacter(uint32 codePoint, const Character& character);
    /// Forgets all glyphs and drops the pages.
    void dropCharacters();
    /// Determines the heights of 'x' and 'A' and where pictures are placed. A font calls this after loading.
    void measureCharacters();
    /// Makes getVersion() larger than that of any font.
    void noteChange();

    int m_ascent = 0;                     ///< see getAscent()
    int m_descent = 0;                    ///< see getDescent()
    Vector<SmartPointer<Sprite>> m_pages; ///< the pages by index

private:
    /// The code points below this one are found in a table, the others in the map.
    static constexpr uint32 kTableSize = 0x500;

    const Character* findCharacter(uint32 codePoint) const;
    bool fetchPicture(uint32 codePoint, Character& character);
    int16 heightOf(uint32 codePoint);

    std::array<const Character*, kTableSize> m_table{};
    std::unordered_map<uint32, Character> m_characters; ///< by code point; the addresses are stable
    int16 m_xHeight = 0;
    int16 m_capitalHeight = 0;
    int16 m_pictureOffset = 0; ///< from the top of a picture to the baseline
    IVec2<int> m_descriptor;
    uint32 m_version = 0;
};

} // namespace qel
