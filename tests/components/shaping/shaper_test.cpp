// The glyphs that HarfBuzz chooses, with the fonts that hosts ship.
#include <qel/shaping/seams.h>
#include <qel/text/engine/text_actor.h>
#include <tests/components/shaping/shaping_fixture.h>
#include <tests/support/log_capture.h>

#include <gmock/gmock.h>

#include <numeric>
#include <set>
#include <string>

namespace qel {
namespace {

using testing::Each;
using testing::ElementsAre;

constexpr uint32 kFallback = TrueTypeFont::kFallbackGlyph;

class ShaperTest : public test::ShapingFixture {};

float widthOf(const ShapedRun& run) {
    return std::accumulate(run.advances.begin(), run.advances.end(), 0.0f);
}

// --- scripts --------------------------------------------------------------------------------------------

TEST_F(ShaperTest, ArabicLettersJoin) {
    const auto font = loadShaped(kArabic, 40);
    const std::vector<uint32> joined = indicesOf(shape(*font, U"ببب", true));
    EXPECT_EQ(std::set(joined.begin(), joined.end()).size(), 3u) << "initial, medial and final form";
    EXPECT_THAT(joined, Each(testing::Gt(0u)));
    EXPECT_THAT(indicesOf(shape(*font, U"ب", true)), ElementsAre(0));
    EXPECT_NE(indicesOf(shape(*font, U"ب\u200D", true))[0], 0u) << "a joiner asks for the initial form";
}

TEST_F(ShaperTest, FirstCharacterOfALigatureHasItsAdvance) {
    const auto roboto = loadShaped(kRoboto, 40);
    const ShapedRun latin = shape(*roboto, U"ffi");
    EXPECT_EQ(latin.glyphs.size(), 1u);
    EXPECT_GT(latin.advances[0], 20);
    EXPECT_THAT(latin.advances, ElementsAre(latin.advances[0], 0, 0));
    const auto devanagari = loadShaped(kDevanagari, 40);
    const ShapedRun conjunct = shape(*devanagari, U"क्ष");
    EXPECT_EQ(conjunct.glyphs.size(), 1u);
    EXPECT_THAT(conjunct.advances, ElementsAre(conjunct.advances[0], 0, 0));
}

TEST_F(ShaperTest, LatinLettersAreKerned) {
    const auto font = loadShaped(kRoboto, 40);
    EXPECT_LT(widthOf(shape(*font, U"AV")), widthOf(shape(*font, U"A")) + widthOf(shape(*font, U"V")));
    EXPECT_EQ(font->getKerning('A', 'V'), 0) << "the file has no other table";
    const ShapedRun run = shape(*font, U"ab");
    EXPECT_THAT(indicesOf(run), ElementsAre(0, 0)) << "usual glyphs are drawn once";
    EXPECT_EQ(run.advances[0], font->getCharacter('a')->xAdvance) << "whole pixels, as without a shaper";
}

// --- fonts ----------------------------------------------------------------------------------------------

TEST_F(ShaperTest, FallbackFontsShapeTheirScripts) {
    const auto font = loadWide(30);
    connectShaper(*font);
    const ShapedRun run = shape(*font, U"ab ببक्ष\u0301");
    const std::vector<uint32> glyphs = indicesOf(run);
    ASSERT_GE(glyphs.size(), 6u);
    EXPECT_THAT(std::vector(glyphs.begin(), glyphs.begin() + 3), ElementsAre(0, 0, 0));
    EXPECT_EQ(glyphs[3] / kFallback, 1u);
    EXPECT_EQ(glyphs[4] / kFallback, 1u);
    EXPECT_EQ(glyphs[5] / kFallback, 2u);
    const Font::Character* const glyph = font->getGlyph(glyphs[5]);
    ASSERT_NE(glyph, nullptr);
    EXPECT_EQ(glyph->width, font->getFallbackFonts()[1]->getGlyph(glyphs[5] % kFallback)->width);
    EXPECT_EQ(font->getGlyph(3 * kFallback + 1), nullptr);
}

// Short segments are kept. A Syriac letter, which no font has, joins the Arabic letters around it.
TEST_F(ShaperTest, RepeatedSegmentsHaveTheGlyphsOfTheFirst) {
    const auto font = loadShapedWide(40);
    struct Case {
        std::u32string_view text;
        bool isRightToLeft;
    };
    for (const Case& c : {Case{U"aяaяaя", false},
                          {U"बaबaकि1", false},
                          {U"ب", true},
                          {U"بܒ", true},
                          {U"ܒب", true},
                          {U"ܒبܒ", true},
                          {U"ب", false},
                          {U"AVя", false}}) {
        const ShapedRun first = shape(*loadShapedWide(40), c.text, c.isRightToLeft);
        for (int i = 0; i < 2; ++i) {
            const ShapedRun run = shape(*font, c.text, c.isRightToLeft);
            EXPECT_EQ(run.advances, first.advances);
            EXPECT_EQ(indicesOf(run), indicesOf(first));
            EXPECT_EQ(charactersOf(run), charactersOf(first));
            EXPECT_EQ(placesOf(run), placesOf(first));
        }
    }
}

TEST_F(ShaperTest, LetterJoinsThoseOfAnotherSegment) {
    const auto font = loadShaped(kArabic, 40);
    const uint32 isolated = indicesOf(shape(*font, U"ب", true)).at(0);
    const uint32 initial = indicesOf(shape(*font, U"بܒ", true)).at(0);
    const uint32 final = indicesOf(shape(*font, U"ܒب", true)).at(1);
    const std::set<uint32> forms{isolated, initial, final};
    EXPECT_EQ(forms.size(), 3u);
}

TEST_F(ShaperTest, MissingCharacterHasItsUsualGlyph) {
    const auto font = loadShaped(kRoboto, 40);
    test::LogCapture log;
    const ShapedRun run = shape(*font, std::u32string{U'a', 0x4E00, 0xFFFFFFFF, U'b'});
    EXPECT_THAT(indicesOf(run), ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(run.advances[1], font->getCharacter(Font::kBullet)->xAdvance);
    log.expect(1, "no glyph available for codepoint: 19968");
    log.expect(1, "no glyph available for codepoint: 4294967295");
}

TEST_F(ShaperTest, FontMayBeLoadedAgain) {
    const auto font = loadShaped(kRoboto, 40);
    shape(*font, U"a");
    ASSERT_TRUE(font->loadFromResource(kArabic, 40));
    EXPECT_THAT(indicesOf(shape(*font, U"بب", true)), Each(testing::Gt(0u)));
    test::LogCapture log;
    EXPECT_FALSE(font->loadFromMemory({}, 40));
    EXPECT_THAT(shape(*font, U"بب", true).advances, ElementsAre(0, 0));
    log.take();
    ASSERT_TRUE(font->loadFromResource(kArabic, 20));
    EXPECT_THAT(indicesOf(shape(*font, U"بب", true)), Each(testing::Gt(0u)));
}

TEST_F(ShaperTest, FileThatTakesTooMuchWorkIsNoLongerShaped) {
    const auto font = loadShaped(kArabic, 40);
    seams::setShapingAllowance(-1);
    test::LogCapture log;
    const ShapedRun run = shape(*font, U"بب", true);
    seams::setShapingAllowance(1);
    log.expect(2, "Shaping a text takes too much work with the font: font-noto-arabic.ttf");
    EXPECT_THAT(run.advances, Each(font->getCharacter(U'ب')->xAdvance));
    EXPECT_THAT(indicesOf(shape(*font, U"بب", true)), ElementsAre(0, 0));
}

// --- texts ----------------------------------------------------------------------------------------------

TEST_F(ShaperTest, CursorStopsFollowTheAdvances) {
    const auto font = loadShaped(kArabic, 40);
    TextActor text;
    text.setFont(font.get()).setText("لاب").setBounds({0, 0, 200, 60});
    text.update();
    const std::span<const TextActor::CursorStop> stops = text.getLine(0).stops;
    ASSERT_EQ(stops.size(), 3u);
    const auto width = static_cast<float>(text.getLine(0).width);
    EXPECT_EQ(stops[0].rect.x0, width - 1);
    EXPECT_EQ(stops[1].rect.x0, stops[2].rect.x0) << "the ligature has one advance";
    EXPECT_GT(stops[1].rect.x0, 0);
    EXPECT_LT(stops[1].rect.x0, width - 5);
    EXPECT_EQ(text.findCursorPosition({width, 10}), 0);
}

} // namespace
} // namespace qel
