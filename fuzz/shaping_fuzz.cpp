// Shapers of outline fonts: the first byte is the size, the others are the file. Each character has an
// advance, and the glyphs are in the order of their characters.
#include <fuzz/quiet_system.h>
#include <fuzz/require.h>
#include <qel/shaping/shaper.h>
#include <qel/text/fonts/shaping.h>
#include <qel/text/fonts/true_type_font.h>

#include <cmath>
#include <string_view>
#include <vector>

using namespace qel;

namespace {

void shape(TrueTypeFont& font, std::u32string_view text, bool isRightToLeft) {
    const std::vector<uint32> codePoints(text.begin(), text.end());
    ShapedRun shaped;
    require(font.delegateShapeRun({&font, codePoints, isRightToLeft}, shaped));
    require(shaped.advances.size() == codePoints.size());
    for (const float advance : shaped.advances) require(std::isfinite(advance));
    uint32 character = 0;
    for (const ShapedGlyph& glyph : shaped.glyphs) {
        require(glyph.character >= character && glyph.character < codePoints.size());
        require(std::isfinite(glyph.x) && std::isfinite(glyph.y));
        character = glyph.character;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    if (size < 1) return 0;
    startQuietSystem();
    const SmartPointer<TrueTypeFont> font = new TrueTypeFont;
    if (!font->loadFromMemory({data + 1, size - 1}, data[0])) return 0;
    connectShaper(*font);
    shape(*font, U"AVxAxV xA.VA", false);
    shape(*font, U"AVxAxV xA.VA", true);
    shape(*font, U"\u0628\u0628\u0628 \u0644\u0627\u064E\u0651\u200D\u0628", true);
    shape(*font, U"\u0939\u093F\u0928\u094D\u0926\u0940 \u0915\u094D\u0937\u0930\u094D\u0915\u093F", false);
    return 0;
}
