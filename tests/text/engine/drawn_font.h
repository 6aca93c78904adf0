// A font of simple glyphs with known sizes, for exact results.
#pragma once

#include <qel/render/sprite.h>
#include <qel/text/fonts/font.h>

#include <cstring>
#include <map>
#include <utility>

namespace qel::test {

/// A font with a line height of 10, an ascent of -8 and a capital height of 7. Letters have 5 by 7 pixels and
/// an advance of 6; a space advances by 4. Other characters:
/// - 'W' advances by 40;
/// - U+0301 is 3 by 2 pixels above the letter in front of it, and U+200B is nothing; both advance by 0;
/// - U+E000 advances by -20;
/// - U+E001 does not exist;
/// - characters from U+4E00 on are on a page of their own.
class DrawnFont : public Font {
    QEL_CLASS(DrawnFont, Font)

public:
    explicit DrawnFont(int lineHeight = 10) {
        makePages();
        resize(lineHeight);
    }
    /// Changes the line height, as a font does that is loaded late.
    void resize(int lineHeight) {
        m_lineHeight = lineHeight;
        m_ascent = lineHeight * -8 / 10;
        m_descent = m_ascent + lineHeight;
        measureCharacters();
    }

    int getLineHeight() const override { return m_lineHeight; }
    FontStyle getStyle() const override { return FontStyle::Regular; }
    const Character* getCharacter(uint32 codePoint) override {
        ++lookups;
        return codePoint == 0xE001 ? nullptr : Font::getCharacter(codePoint);
    }
    int getKerning(uint32 first, uint32 second) override {
        const auto found = kernings.find({first, second});
        return found != kernings.end() ? found->second : 0;
    }
    /// Drops all glyphs, as fonts do when memory is short.
    void unload() {
        dropCharacters();
        makePages();
    }

    std::map<std::pair<uint32, uint32>, int> kernings;
    int lookups = 0;

protected:
    bool fetchGlyph(uint32 codePoint, Character& out) override {
        out.page = codePoint >= 0x4E00 && codePoint < 0xE000 ? 1 : 0;
        out.xAdvance = 6;
        if (codePoint == ' ') out.xAdvance = 4;
        if (codePoint == 'W') out.xAdvance = 40;
        if (codePoint == 0x301 || codePoint == 0x200B) out.xAdvance = 0;
        if (codePoint == 0xE000) out.xAdvance = -20;
        if (codePoint == ' ' || codePoint == 0x200B || codePoint == 0xE000) return true;
        out.width = codePoint == 0x301 ? 3 : 5;
        out.height = codePoint == 0x301 ? 2 : 7;
        out.xOffset = codePoint == 0x301 ? -5 : 0;
        out.yOffset = codePoint == 0x301 ? -10 : -7;
        const uint32 column = codePoint % 8;
        const uint32 row = codePoint / 8 % 8;
        out.uMin = static_cast<float>(column * 8) / 64;
        out.vMin = static_cast<float>(row * 8) / 64;
        out.uMax = out.uMin + static_cast<float>(out.width) / 64;
        out.vMax = out.vMin + static_cast<float>(out.height) / 64;
        return true;
    }

private:
    /// Makes pages whose glyphs are framed boxes with a gradient, different for each place.
    void makePages() {
        for (int page = 0; page < 2; ++page) {
            const SmartPointer<Sprite> sprite = Sprite::createInternal(A8, {64, 64});
            uint8* const pixels = sprite->getData();
            for (int y = 0; y < 64; ++y)
                for (int x = 0; x < 64; ++x)
                    pixels[y * 64 + x] = static_cast<uint8>(x % 8 == 0 || y % 8 == 0 ? 255 : 37 * x + 11 * y);
            m_pages.push_back(sprite);
        }
    }

    int m_lineHeight = 0;
};

/// A font without glyphs of its own.
class BareFont : public Font {
    QEL_CLASS(BareFont, Font)

public:
    int getLineHeight() const override { return 10; }
    FontStyle getStyle() const override { return FontStyle::Regular; }
    int getKerning(uint32, uint32) override { return 0; }
};

} // namespace qel::test
