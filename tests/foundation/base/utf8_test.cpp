#include <qel/foundation/base/simd_target_p.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/unicode.h>

#include "utf8_oracle.h"

#include <gtest/gtest.h>

#include <random>

namespace qel {
namespace {

Vector<String> brokenSequences() {
    return String("\xED\xA0\x80|\xC0\x80|\xC1\xBF|\xE0\x9F\xBF|\xF0\x8F\xBF\xBF|\xF4\x90\x80\x80|"
                  "\xF5\x80\x80\x80|"
                  "\xF8\x88\x80\x80\x80|\xC3|\xC3 |\xE2\x82|\xF0\x9F\x98|\x80|\xFF")
        .split('|');
}

TEST(Utf8, LenientOperationsReadABadByteAsWesternEuropean) {
    EXPECT_EQ(String("\xE4 ").utf8_at(0), 0xE4u);
    EXPECT_EQ(String("\xE4 ").utf8_uppercase(), "Ä ");
    EXPECT_EQ(String("\x80\x81").utf8_fix(), "€\uFFFD");
}

TEST(Utf8, StrictReaderStaysInPlaceOnBrokenBytes) {
    for (const String& text : brokenSequences()) {
        auto position = text.cbegin();
        EXPECT_EQ(text.utf8_strict_parse(position), String::kNoCodePoint);
        EXPECT_EQ(position, text.cbegin());
    }
}

TEST(Utf8, ReadersReturnZeroAtTheEndAndStay) {
    const String text = "é";
    auto position = text.cbegin();
    EXPECT_EQ(text.utf8_parse(position), 0xE9u);
    EXPECT_EQ(text.utf8_parse(position), 0u);
    EXPECT_EQ(text.utf8_strict_parse(position), 0u);
    EXPECT_EQ(position, text.cend());
}

TEST(Utf8, ANulEndsEveryWalk) {
    const String text("ab\0cd", 5);
    EXPECT_EQ(text.utf8_at(3), 0u);
    EXPECT_EQ(text.utf8_fix() + text.utf8_uppercase() + text.utf8_substr(1) + text.ascii_fix(), "abABbab");
    EXPECT_EQ(text.utf8_get_iterator_at(9) - text.begin(), 2);
    EXPECT_TRUE(String(std::string("1\0x", 3)).utf8_isnumeric());
}

TEST(Utf8, EveryCodePointSurvivesAppendAndParseAndOthersAreWrittenUnchecked) {
    String text;
    for (uint32 codePoint = 1; codePoint <= 0x10FFFF; ++codePoint) {
        if (codePoint == 0xD800) codePoint = 0xE000;
        text.clear();
        text.utf8_append(codePoint);
        ASSERT_EQ(text, test::encodeUtf8(codePoint));
        ASSERT_EQ(text.utf8_strict_peek(text.begin()), codePoint);
    }
    text.utf8_append(0xD800);
    EXPECT_TRUE(text.ends_with("\xED\xA0\x80"));
    text.utf8_append(0xFFFFFFFF);
    EXPECT_EQ(text.size(), 4u + 3u + 4u);
}

TEST(Utf8, SubstrCountsCodePointsAndKeepsBytes) {
    const String text = "aé€😀\xE4";
    EXPECT_EQ(text.utf8_substr(1, 2), "é€");
    EXPECT_EQ(text.utf8_substr(3, -1), "😀\xE4");
    EXPECT_EQ(text.utf8_substr(9, 1), "");
    EXPECT_EQ(text.utf8_substr(4, 100), "\xE4");
    EXPECT_EQ(text.utf8_at(3), 0x1F600u);
}

TEST(Utf8, CaseFollowsThePairsOfTheUnicodeDatabase) {
    EXPECT_EQ(String("Straße ÀÉ Ωλ Жук Ǆ").utf8_lowercase(), "straße àé ωλ жук ǆ");
    EXPECT_EQ(String("straße àÿ ωλς жук ı µ").utf8_uppercase(), "STRAßE ÀŸ ΩΛς ЖУК ı µ");
    EXPECT_EQ(String("éa ß").utf8_capitalize(), "Éa ß");
    EXPECT_EQ(String().utf8_capitalize(), "");
}

TEST(Utf8, EllipsisKeepsBothEndsWithinTheCount) {
    const String text = "abcdefghijklmnopqrst";
    EXPECT_EQ(text.utf8_ellipsis(20), text);
    EXPECT_EQ(text.utf8_ellipsis(19), "abcdefg ... nopqrst");
    EXPECT_EQ(String("äöüÄÖÜßéè").utf8_ellipsis(7), "ä ... è");
    for (std::size_t count = 0; count < 7; ++count) EXPECT_EQ(text.utf8_ellipsis(count), " ... ");
}

TEST(Utf8, NumericTakesOneSignInFrontAndOnePoint) {
    for (const char* numeric : {"", "-", "12", "-12.5", "1,5", ".", "-,"})
        EXPECT_TRUE(String(numeric).utf8_isnumeric());
    for (const char* other : {"1,5.5", "1-", "--1", "+1", " 1", "1e3", "١", "\xE4", "1..2"})
        EXPECT_FALSE(String(other).utf8_isnumeric());
}

TEST(Utf8, SpecialCharactersAreFoundAndBrokenBytesAreNot) {
    for (const char* special : {"a b", "\t", "a\u00A0", "\u00AD", "\x7F", "\xE4\x80 "})
        EXPECT_TRUE(String(special).utf8_contains_special_characters());
    for (const char* plain : {"", "abc", "äöü", "\x80\x9F", "\xC2"})
        EXPECT_FALSE(String(plain).utf8_contains_special_characters());
}

TEST(Utf8, RightToLeftFlagsTellStartAndPresence) {
    for (const char* none : {"", "plain äöü 日本"}) EXPECT_EQ(String(none).utf8_rtl_flags(), 0) << none;
    for (const char* first : {"שלום", "مرحبا world"}) EXPECT_EQ(String(first).utf8_rtl_flags(), 3) << first;
    for (const char* later : {"hello שלום", "hello\nשלום", "12 שלום"})
        EXPECT_EQ(String(later).utf8_rtl_flags(), 2) << later;
}

TEST(Utf8, AsciiFixReplacesWhatItCannotKeep) {
    EXPECT_EQ(String("a\té€\x81\x7F").ascii_fix(), "a\t???\x7F");
    EXPECT_EQ(String("a\té~\x7F").ascii_fix_remove_controlcodes(), "a??~?");
}

/// Runs each case under every instruction set of this machine.
class Utf8Kernels : public testing::TestWithParam<std::string> {
protected:
    void SetUp() override { ASSERT_TRUE(internal::setSimdTarget(GetParam())); }
    void TearDown() override { internal::setSimdTarget(""); }

    /// What the vectors have to do with a text, and with each of its tails, which begin inside a sequence.
    static void expectAgreement(const String& text) {
        const auto codePoints = test::readLeniently(text);
        const std::string fixed = test::textOf(codePoints);
        ASSERT_EQ(text.utf8_to_unicode(), codePoints);
        ASSERT_EQ(text.utf8_size(), codePoints.size());
        ASSERT_EQ(text.utf8_fix(), fixed);
        ASSERT_EQ(util::utf8_is_valid(text), text == fixed);
        ASSERT_EQ(text.utf8_to_std_wstring(), std::wstring(codePoints.begin(), codePoints.end()));
        ASSERT_EQ(text.utf8_to_utf16(), utf16Of(codePoints));
    }

    static Vector<uint16> utf16Of(const std::vector<uint32>& codePoints) {
        Vector<uint16> units;
        for (uint32 codePoint : codePoints) {
            if (codePoint > 0xFFFF) {
                codePoint -= 0x10000;
                units.push_back(static_cast<uint16>(0xD800 + codePoint / 0x400));
                codePoint = 0xDC00 + codePoint % 0x400;
            }
            units.push_back(static_cast<uint16>(codePoint));
        }
        return units;
    }
};

TEST_P(Utf8Kernels, AgreeWithBytewiseReadingAtEveryLength) {
    for (const std::u32string_view alphabet :
         {U"a", U"é", U"€", U"😀", U"abé", U"日本x", U"aé€😀\u007F\u0080"}) {
        String text;
        for (std::size_t i = 0; text.size() < 200; ++i) {
            expectAgreement(text);
            expectAgreement(text.substr(text.size() / 3));
            text.utf8_append(alphabet[i % alphabet.size()]);
        }
    }
}

TEST_P(Utf8Kernels, FindEachKindOfBreakAtEveryPlace) {
    for (const String& broken : brokenSequences()) {
        for (const char* filler : {"a", "é", "€", "😀"}) {
            for (std::size_t before = 0; before < 140; before += 1 + before % 3) {
                String text;
                while (text.size() < before) text += filler;
                text += broken;
                expectAgreement(text);
                while (text.size() < 180) text += filler;
                expectAgreement(text);
            }
        }
    }
}

TEST_P(Utf8Kernels, EndAtANulAtEveryPlace) {
    for (std::size_t place = 0; place < 150; ++place) {
        String text(150, 'a');
        text[place] = '\0';
        ASSERT_EQ(text.utf8_size(), place);
        ASSERT_EQ(text.utf8_to_unicode().size(), place);
        ASSERT_TRUE(util::utf8_is_valid(text));
    }
}

TEST_P(Utf8Kernels, AgreeOnRandomMixturesOfGoodAndBadBytes) {
    std::mt19937 random(20260);
    const char* pieces[] = {
        "plain ascii text that is a little longer", "é",        "€",    "😀",   "\xE4", "\xF0\x9F",
        "日本語日本語日本語日本語日本語",           "\xED\xA0", "\x81", "\xC2"};
    for (int round = 0; round < 400; ++round) {
        String text;
        const std::size_t size = random() % 3000;
        const std::size_t kinds = 1 + random() % std::size(pieces);
        while (text.size() < size) text += pieces[random() % kinds];
        expectAgreement(text);
    }
}

INSTANTIATE_TEST_SUITE_P(AllTargets, Utf8Kernels, testing::ValuesIn(internal::simdTargets()),
                         [](const auto& parameter) { return parameter.param; });

TEST(SimdTarget, RefusesAnUnknownName) {
    EXPECT_FALSE(internal::setSimdTarget("abacus"));
    EXPECT_EQ(String(300, 'x').utf8_size(), 300u);
}

} // namespace
} // namespace qel
