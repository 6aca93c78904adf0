// BitmapFont: a font whose glyphs are in pictures that were drawn in advance.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/text/fonts/font.h>

#include <array>

namespace qel {

/// Reads fonts in the binary BMFont format up to version 3, whose pages are pictures among the resources. Its
/// glyphs stay until the font is loaded again.
/// @threads main thread; System must exist.
class QEL_API BitmapFont final : public Font {
    QEL_CLASS(BitmapFont, Font)

public:
    /// The first block of a file: how the font was drawn.
    struct Info {
        int16 fontSize = 0;             ///< size of the drawn font
        bool isSmooth = false;          ///< true if the edges are smooth
        bool isUnicode = false;         ///< true if the file's codes are Unicode, not code page 1252
        uint8 charset = 0;              ///< character set of a font that is not Unicode
        uint16 stretchHeight = 0;       ///< vertical stretch in percent
        uint8 antiAlias = 0;            ///< samples per pixel
        std::array<uint8, 4> padding{}; ///< around each glyph: up, right, down, left
        std::array<uint8, 2> spacing{}; ///< between glyphs: horizontal, vertical
        uint8 outline = 0;              ///< thickness of the outline
        String name;                    ///< name of the drawn font
    };

    /// The second block of a file: what all glyphs have in common. Lengths are in pixels.
    struct Common {
        uint16 lineHeight = 0;  ///< distance between two baselines
        uint16 base = 0;        ///< from the top of a line to the baseline
        uint16 pageWidth = 0;   ///< width of each page
        uint16 pageHeight = 0;  ///< height of each page
        uint16 pageCount = 0;   ///< number of pages
        uint8 flags = 0;        ///< bit 7 is set if glyphs are in single channels of the pages
        uint8 alphaChannel = 0; ///< what the channel alpha holds
        uint8 redChannel = 0;   ///< what the channel red holds
        uint8 greenChannel = 0; ///< what the channel green holds
        uint8 blueChannel = 0;  ///< what the channel blue holds
    };

    /// Creates a font without glyphs.
    BitmapFont();
    ~BitmapFont() override;

    /// Loads the resource @p name with ".fnt", and uses the resources @p name with "-0.webp", "-1.webp" and
    /// so on as its pages, which are loaded when they are drawn.
    /// @return false if the resource does not exist, which is logged, or is not a font.
    bool loadFromResources(SmartCStr name);
    /// Loads the content of a file of type ".fnt"; the font has no pages.
    /// @return false if it is not a font or incomplete; nothing is logged, and the font is empty.
    bool loadFromMemory(ConstByteSpan file);

    /// Returns the first block of the file.
    const Info& getInfo() const { return m_info; }
    /// Returns the second block of the file.
    const Common& getCommon() const { return m_common; }

    int getLineHeight() const override { return m_common.lineHeight; }
    /// Returns FontStyle::Regular.
    FontStyle getStyle() const override { return FontStyle::Regular; }
    int getKerning(uint32 first, uint32 second) override;

private:
    Info m_info;
    Common m_common;
    std::unordered_map<uint64, int16> m_kernings;
};

} // namespace qel
