// Shipped fonts with a shaper.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/shaping/shaper.h>
#include <qel/text/fonts/shaping.h>
#include <qel/text/fonts/true_type_font.h>
#include <tests/support/shipped_fonts.h>
#include <tests/support/system_fixture.h>

#include <string_view>
#include <vector>

namespace qel::test {

/// A System with the shipped fonts.
class ShapingFixture : public WithShippedFonts<SystemFixture> {
protected:
    static constexpr const char* kRoboto = "font-roboto-regular.ttf";
    static constexpr const char* kArabic = "font-noto-arabic.ttf";
    static constexpr const char* kDevanagari = "font-noto-devanagari.ttf";

    static SmartPointer<TrueTypeFont> load(const char* resource, int size) {
        const auto font = makeObject<TrueTypeFont>();
        EXPECT_TRUE(font->loadFromResource(resource, size));
        return font;
    }
    static SmartPointer<TrueTypeFont> loadShaped(const char* resource, int size) {
        const SmartPointer<TrueTypeFont> font = load(resource, size);
        connectShaper(*font);
        return font;
    }
    /// Returns Roboto with Arabic and Devanagari as fallback fonts in larger sizes.
    static SmartPointer<TrueTypeFont> loadWide(int size) {
        const SmartPointer<TrueTypeFont> font = load(kRoboto, size);
        font->setFallbackFonts({load(kArabic, size * 5 / 4), load(kDevanagari, size * 6 / 5)});
        return font;
    }
    static SmartPointer<TrueTypeFont> loadShapedWide(int size) {
        const SmartPointer<TrueTypeFont> font = loadWide(size);
        connectShaper(*font);
        return font;
    }
    /// Returns the answer of the hook of @p font.
    static ShapedRun shape(TrueTypeFont& font, std::u32string_view text, bool isRightToLeft = false) {
        const std::vector<uint32> codePoints(text.begin(), text.end());
        ShapedRun shaped;
        EXPECT_TRUE(font.delegateShapeRun({&font, codePoints, isRightToLeft}, shaped));
        return shaped;
    }
    /// Returns the numbers of the glyphs of a run.
    static std::vector<uint32> indicesOf(const ShapedRun& run) {
        std::vector<uint32> indices;
        for (const ShapedGlyph& glyph : run.glyphs) indices.push_back(glyph.index);
        return indices;
    }
    /// Returns where the glyphs of a run are.
    static std::vector<IVec2<float>> placesOf(const ShapedRun& run) {
        std::vector<IVec2<float>> places;
        for (const ShapedGlyph& glyph : run.glyphs) places.emplace_back(glyph.x, glyph.y);
        return places;
    }
    /// Returns the numbers of the characters that the glyphs of a run belong to.
    static std::vector<uint32> charactersOf(const ShapedRun& run) {
        std::vector<uint32> characters;
        for (const ShapedGlyph& glyph : run.glyphs) characters.push_back(glyph.character);
        return characters;
    }
};

} // namespace qel::test
