// Outline fonts: the first byte is the size, the others are the file. No glyph lies outside its page, and
// glyphs are the same after the pages were dropped.
#include <fuzz/quiet_system.h>
#include <fuzz/require.h>
#include <qel/render/sprite.h>
#include <qel/text/fonts/true_type_font.h>

#include <cstring>

using namespace qel;

namespace {

constexpr uint32 kFirst = 'A';
constexpr uint32 kCodePoints = 16; // few, because one without a glyph costs a sprite
constexpr uint32 kGlyphs = 48;

/// Requires that a length in texture coordinates is a whole number of pixels in the page. @return the number.
int pixels(float coordinate) {
    const float length = coordinate * TrueTypeFont::kPageSize;
    require(length >= 0 && length <= TrueTypeFont::kPageSize);
    require(length == static_cast<float>(static_cast<int>(length)));
    return static_cast<int>(length);
}

/// Requires that a glyph lies in its page. @return a number that depends on its lengths.
int64 checked(TrueTypeFont& font, const Font::Character* glyph) {
    if (glyph == nullptr) return 0;
    const Font::Character& character = *glyph;
    Sprite* const page = font.getPage(character.page);
    require(page != nullptr && page->getSize() == IVec2<int>(256, 256));
    require(pixels(character.uMax) - pixels(character.uMin) == character.width);
    require(pixels(character.vMax) - pixels(character.vMin) == character.height);
    return character.width + int64{1000} * character.height + int64{1000000} * character.xAdvance;
}

/// Draws characters and glyphs. @return the sum of their numbers.
int64 draw(TrueTypeFont& font) {
    int64 sum = 0;
    for (uint32 i = 0; i < kCodePoints; ++i) sum += checked(font, font.getCharacter(kFirst + i));
    for (uint32 i = 0; i < kGlyphs; ++i) sum += checked(font, font.getGlyph(i));
    return sum;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    if (size < 1) return 0;
    startQuietSystem();
    const SmartPointer<TrueTypeFont> font = new TrueTypeFont;
    if (!font->loadFromMemory({data + 1, size - 1}, data[0] * 2)) {
        require(!font->isLoaded() && font->getLineHeight() == 0);
        return 0;
    }
    const int64 sum = draw(*font);
    for (uint32 i = 0; i < 16; ++i) {
        const int kerning = font->getKerning(kFirst + i, kFirst + 2 * i);
        require(font->getKerning(kFirst + i, kFirst + 2 * i) == kerning);
    }
    font->unload();
    require(font->getPage(0) == nullptr);
    require(draw(*font) == sum);
    return 0;
}
