// How the layout uses the hook that chooses the glyphs of runs.
#include <tests/text/engine/text_fixture.h>

#include <qel/text/fonts/shaping.h>

#include <gmock/gmock.h>

#include <functional>
#include <limits>

namespace qel {
namespace {

using testing::ElementsAre;

/// A DrawnFont with the glyph number 9, which has 3 by 4 pixels, 1 to the right of its origin and above it.
class NumberedFont : public test::DrawnFont {
    QEL_CLASS(NumberedFont, test::DrawnFont)

public:
    const Character* getGlyph(uint32 index) override {
        Character glyph;
        glyph.page = 0;
        glyph.width = 3;
        glyph.height = 4;
        glyph.xOffset = 1;
        glyph.yOffset = -4;
        return index == 9 ? keepCharacter(0xF0009, glyph) : nullptr;
    }
};

class TextShaping : public test::TextFixture {
protected:
    void SetUp() override {
        TextFixture::SetUp();
        font = makeObject<NumberedFont>();
        text->setFont(font.get());
        font->delegateShapeRun.connect([this](const ShapingRun& run, ShapedRun& shaped) {
            std::string characters;
            for (const uint32 codePoint : run.codePoints)
                characters += codePoint < 128 ? static_cast<char>(codePoint) : '#';
            runs.push_back(characters + (run.isRightToLeft ? "<" : ">"));
            shaped.advances.assign(run.codePoints.size(), advance);
            for (uint32 i = 0; i < run.codePoints.size(); ++i) shaped.glyphs.push_back({i, 9, 0, 0});
            if (change) change(shaped);
            return answer;
        });
    }

    std::vector<std::string> runs; ///< that the hook was asked for: characters and direction
    float advance = 5;
    bool answer = true;
    std::function<void(ShapedRun&)> change; ///< of the answer
};

TEST_F(TextShaping, RunsHaveOneFontStyleDirectionAndLine) {
    const struct {
        const char* content;
        std::vector<std::string> runs;
    } kCases[] = {
        {"ab c", {"ab c>"}},
        {"a{color:red}b{underline_on}c{bar}d{endbar:red}e{align:left}f{bold_on}g", {"abcdefg>"}},
        {"a{tab}b{spacer}c{tabstop:9}d{push_margin}e", {"a>", "b>", "c>", "d>", "e>"}},
        {"a{fontstyle:regular}b", {"a>", "b>"}},
        {"a{eol}b{eop}c", {"a>", "b>", "c>"}},
        {"a \xD7\x90\xD7\x91 c", {"a >", "##<", " c>"}},
    };
    for (const auto& c : kCases) {
        runs.clear();
        layOutCodes(c.content);
        EXPECT_EQ(runs, c.runs) << c.content;
    }
}

TEST_F(TextShaping, SumsOfAdvancesAreRounded) {
    advance = 2.4f;
    layOut("abcde");
    EXPECT_THAT(pens(), ElementsAre(0, 2, 5, 7, 10));
    EXPECT_THAT(widths(), ElementsAre(12));
}

TEST_F(TextShaping, GlyphsArePlacedFromThePen) {
    change = [](ShapedRun& shaped) { shaped.glyphs = {{0, 9, 1.4f, 2}, {0, 9, -3, 0}, {1, 9, 0, -1}}; };
    layOut("ab");
    EXPECT_THAT(quads(), ElementsAre(Rect(2, 2, 5, 6), Rect(-2, 4, 1, 8), Rect(6, 5, 9, 9)));
    EXPECT_EQ(text->getInkBounds(), IVec4<int>(-2, 2, 9, 9));
}

TEST_F(TextShaping, HostileAnswersAreSurvived) {
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    constexpr float kHuge = std::numeric_limits<float>::infinity();
    const struct {
        const char* what;
        std::function<void(ShapedRun&)> change;
        std::vector<float> pens;
        size_t quadCount;
    } kCases[] = {
        {"too few advances", [](ShapedRun& s) { s.advances.pop_back(); }, {0, 6}, 2},
        {"no numbers",
         [](ShapedRun& s) {
             s = {{kNan, kNan}, {{0, 9, kNan, kNan}}};
         },
         {0, 0},
         1},
        {"large numbers",
         [](ShapedRun& s) {
             s = {{kHuge, 1e30f}, {{1, 9, kHuge, -1e30f}}};
         },
         {0, 32767},
         1},
        {"unknown numbers of glyphs", [](ShapedRun& s) { s.glyphs[0].index = 0xFFFFFFFF; }, {0, 5}, 2},
        {"characters beyond the run", [](ShapedRun& s) { s.glyphs[0].character = 0xFFFFFFFF; }, {0, 5}, 1},
        {"glyphs out of order", [](ShapedRun& s) { std::swap(s.glyphs[0], s.glyphs[1]); }, {0, 5}, 1},
        {"many glyphs",
         [](ShapedRun& s) {
             s.glyphs.assign(100000, {0, 9, 0, 0});
         },
         {0, 5},
         64},
    };
    for (const auto& c : kCases) {
        change = c.change;
        layOut("");
        layOut("ab");
        EXPECT_EQ(pens(), c.pens) << c.what;
        EXPECT_EQ(quads().size(), c.quadCount) << c.what;
    }
}

// A picture of a missing character is requested in the middle of a layout.
TEST_F(TextShaping, HookMayBeConnectedDuringALayout) {
    const auto late = makeObject<test::BareFont>();
    system().delegateRenderGlyph.connect([&](const IVec2<unsigned>&, unsigned, Image&) {
        late->delegateShapeRun.connect([](const ShapingRun& run, ShapedRun& shaped) {
            shaped.advances.assign(run.codePoints.size(), 3);
            return true;
        });
        return false;
    });
    text->setFont(late.get()).setWordWrap(4);
    layOut("abcd");
    EXPECT_GT(text->getLineCount(), 0u);
}

} // namespace
} // namespace qel
