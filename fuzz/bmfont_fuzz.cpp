// Bitmap fonts: any bytes become a font of whole records, or leave an empty font.
#include <fuzz/require.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/text/fonts/bitmap_font.h>

#include <set>

using namespace qel;

namespace {

/// Requires that a font has nothing of the file that it refused.
void requireEmpty(BitmapFont& font) {
    require(font.getLineHeight() == 0 && font.getAscent() == 0 && font.getDescent() == 0);
    require(font.getFontDescriptor() == IVec2<int>());
    require(font.getPage(0) == nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    logging::setConsoleWriter([](const logging::ConsoleLine&) {});
    const SmartPointer<BitmapFont> font = new BitmapFont;
    const bool isLoaded = font->loadFromMemory({data, size});
    if (!isLoaded) requireEmpty(*font);

    std::set<const Font::Character*> characters;
    for (uint32 codePoint = 0; codePoint < 256; ++codePoint) {
        const Font::Character* const character = font->getCharacter(codePoint);
        if (character == nullptr) continue;
        require(character->page <= 255 && character->width >= 0 && character->height >= 0);
        characters.insert(character);
        const int kerning = font->getKerning(codePoint, codePoint ^ 1);
        require(kerning >= -32768 && kerning <= 32767);
    }
    require(isLoaded || characters.empty());
    require(characters.size() <= size / 20);
    return 0;
}
