#include <tests/text/engine/text_fixture.h>

#include <gmock/gmock.h>

#include <cmath>
#include <string_view>

namespace qel {
namespace {

using testing::ElementsAre;

class TextLayoutTest : public test::TextFixture {};

// --- heights --------------------------------------------------------------------------------------------

TEST_F(TextLayoutTest, HeightIsThatOfTheLines) {
    const struct {
        const char* content;
        int height;
        size_t lines;
    } kCases[] = {
        {"", 0, 0},         {"a", 10, 1},
        {"a{eol}b", 20, 2}, {"a{eol}{eol}b", 30, 3},
        {"a{eop}b", 25, 2}, {"a{eop}{eop}b", 30, 2},
        {"{eop}a", 10, 1}, // below half an empty line
        {"{eol}", 10, 1},   {"a{multiline_end_of_text}", 10, 1},
    };
    for (const auto& c : kCases) {
        layOutCodes(c.content);
        EXPECT_EQ(text->getActualSize().y, c.height) << c.content;
        EXPECT_EQ(text->getLineCount(), c.lines) << c.content;
    }
}

// --- wrapping -------------------------------------------------------------------------------------------

TEST_F(TextLayoutTest, WordsWrap) {
    const struct {
        const char* content;
        int width;
        bool breakAtPunctuation;
        const char* lines;
    } kCases[] = {
        {"abc def", 0, false, "abc def|"},  {"abc def", 34, false, "abc|def|"},
        {"abc def", 40, false, "abc|def|"}, // a pen that reaches the width is too far
        {"abc def", 41, false, "abc def|"}, {"abcdef", 18, false, "ab|cd|ef|"},
        {"abc", 1, false, "a|b|c|"},        {"abc", 6, false, "a|b|c|"},
        {"a W b", 20, false, "a|W|b|"},     {"a  b", 12, false, "a |b|"}, // the last space is dropped
        {"  ab", 12, false, "  a|b|"}, // a line takes at least one character
        {" a b", 13, false, " a|b|"},       {"ab/cd", 24, false, "ab/|cd|"},
        {"ab/cd", 24, true, "ab|/cd|"},     {"////", 13, true, "//|//|"},
        {"////", 1, true, "/|/|/|/|"},      {"a-b", 13, true, "a|-b|"},
        {"a\nb c", 13, false, "a|b|c|"},
    };
    for (const auto& c : kCases) {
        text->setWordWrap(c.width, c.breakAtPunctuation);
        layOut(c.content);
        EXPECT_EQ(lines(), c.lines) << c.content << " in " << c.width;
    }
}

TEST_F(TextLayoutTest, NegativeWrapIsTheWidthOfTheBounds) {
    text->setWordWrap(-1);
    text->setBounds({50, 0, 90, 10});
    layOut("abc def");
    EXPECT_EQ(lines(), "abc|def|");
    text->setBounds({50, 0, 91, 10});
    text->update();
    EXPECT_EQ(lines(), "abc def|");
    text->setBounds({50, 0, NAN, 10});
    text->update();
    EXPECT_EQ(lines(), "abc def|");
}

// --- the pen --------------------------------------------------------------------------------------------

TEST_F(TextLayoutTest, PenMovesByAdvancesAndKerning) {
    font->kernings[{'a', 'b'}] = -2;
    font->kernings[{0, 'a'}] = 1;
    layOut("abab");
    EXPECT_THAT(pens(), ElementsAre(0, 7, 11, 17));
    EXPECT_THAT(quads(),
                ElementsAre(Rect(1, 1, 6, 8), Rect(5, 1, 10, 8), Rect(11, 1, 16, 8), Rect(15, 1, 20, 8)));
    EXPECT_EQ(text->getExtentBounds(), IVec4<int>(0, 0, 21, 10));
    EXPECT_EQ(text->getInkBounds(), IVec4<int>(1, 1, 20, 8));
}

TEST_F(TextLayoutTest, TabStopsFarAwayAreLimited) {
    for (const char* const code : {"{tabstop:2000000000}", "{tabstop:99999999999999999999}"}) {
        layOutCodes((std::string("a") + code + code + "b").c_str());
        EXPECT_EQ(text->getExtentBounds().z, 0x3FFFFFFF) << code;
    }
    for (const char* const code : {"{tabstop:2}", "{tabstop:-99999999999}"}) {
        layOutCodes((std::string("a") + code + "b").c_str());
        EXPECT_THAT(pens(), ElementsAre(0, 6, 8)) << code;
    }
}

// --- decorations ----------------------------------------------------------------------------------------

TEST_F(TextLayoutTest, BarFarDownBeginsAtItsLine) {
    std::string lines;
    for (int i = 0; i < 4000; ++i) lines += "a{eol}"; // 10 pixels each
    layOutCodes((lines + "{bar}b{endbar:red}").c_str());
    ASSERT_EQ(text->getBars().size(), 1u);
    EXPECT_EQ(text->getBars()[0].top, 40000);
    EXPECT_EQ(text->getBars()[0].bottom, 40010);
}

// --- from right to left ---------------------------------------------------------------------------------

TEST_F(TextLayoutTest, RunFromRightToLeftIsMirroredInPlace) {
    layOut("a\xD7\x90\xD7\x91 b"); // alef, bet
    EXPECT_THAT(pens(), ElementsAre(0, 18, 12, 18, 22));
    EXPECT_THAT(quads(),
                ElementsAre(Rect(0, 1, 5, 8), Rect(13, 1, 18, 8), Rect(7, 1, 12, 8), Rect(22, 1, 27, 8)));
}

TEST_F(TextLayoutTest, PartsOfAWrappedRunAreMirroredInTheirLines) {
    text->setWordWrap(20);
    layOut("\xD7\x90\xD7\x91 \xD7\x92\xD7\x93");
    ASSERT_EQ(text->getLineCount(), 2u);
    EXPECT_THAT(pens(0), ElementsAre(12, 6));
    EXPECT_THAT(pens(1), ElementsAre(12, 6));
}

// --- hard cases -----------------------------------------------------------------------------------------

TEST_F(TextLayoutTest, MarksAndMissingGlyphsTakeNoRoom) {
    layOut("a\uE001b");
    EXPECT_THAT(pens(), ElementsAre(0, 6, 6));
    EXPECT_EQ(quads().size(), 2u);
    layOut("e\u0301f");
    EXPECT_THAT(pens(), ElementsAre(0, 6, 6));
    EXPECT_EQ(quads()[1], Rect(1, -2, 4, 0));
    EXPECT_EQ(text->getExtentBounds().y, 0);
    EXPECT_EQ(text->getInkBounds().y, -2);
}

std::string repeated(size_t count, std::string_view part) {
    std::string result;
    for (size_t i = 0; i < count; ++i) result += part;
    return result;
}

TEST_F(TextLayoutTest, CharactersWithoutWidthAreWalkedOverOnce) {
    text->setWordWrap(20);
    layOut(repeated(350'000, "\xE2\x80\x8B").c_str());
    EXPECT_EQ(text->getLineCount(), 1u);
    font->lookups = 0;
    layOut((repeated(100, "W " + repeated(3'000, "\xE2\x80\x8B"))).c_str());
    EXPECT_GE(text->getLineCount(), 100u);
    EXPECT_LE(font->lookups, 4 * 300'300);
}

TEST_F(TextLayoutTest, PenThatMovesBackEndsLinesInLinearTime) {
    text->setWordWrap(20);
    layOut(repeated(100'000, "ab\xEE\x80\x80").c_str());
    EXPECT_EQ(text->getLineCount(), 1u);
    EXPECT_LE(font->lookups, 4 * 300'000);
    EXPECT_EQ(text->getExtentBounds().x, -8 * 99'999 - 8);
}

TEST_F(TextLayoutTest, LongLinesAndNarrowTextsAreLaidOut) {
    layOut(repeated(100'000, "a").c_str());
    EXPECT_EQ(text->getActualSize(), IVec2<int>(600'000, 10));
    text->setWordWrap(1);
    layOut(repeated(1 << 20, "a").c_str());
    EXPECT_EQ(text->getActualSize(), IVec2<int>(6, 10 << 20));
}

} // namespace
} // namespace qel
