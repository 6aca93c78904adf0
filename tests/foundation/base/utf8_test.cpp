#include <qel/foundation/base/string.h>
#include <qel/foundation/base/unicode.h>
#include <tests/support/simd_target.h>

namespace qel {
namespace {

using namespace util;

// A reader that goes byte by byte, as the reference for the fast operations of String.

/// Encodes by the number of bytes that follow the first, unlike the code under test.
std::string encodeUtf8(uint32 codePoint) {
    if (codePoint < 0x80) return {static_cast<char>(codePoint)};
    const int following = codePoint < 0x800 ? 1 : codePoint < 0x10000 ? 2 : 3;
    std::string text(1, static_cast<char>(0xF80 >> following | codePoint >> 6 * following));
    for (int i = following - 1; i >= 0; --i) {
        text.push_back(static_cast<char>(0x80 | (codePoint >> 6 * i & 0x3F)));
    }
    return text;
}

/// Windows code page 1252 between 0x80 and 0x9F, written as the characters themselves; "?" if unused.
uint32 westernCodePoint(uint8 byte) {
    static constexpr char32_t kRow[] = U"€?‚ƒ„…†‡ˆ‰Š‹Œ?Ž??‘’“”•–—˜™š›œ?žŸ";
    if (byte < 0x80 || byte > 0x9F) return byte;
    return kRow[byte - 0x80] == U'?' ? 0xFFFD : static_cast<uint32>(kRow[byte - 0x80]);
}

/// The code points of the lenient reading, up to the first NUL: those that encode back to the same bytes.
std::vector<uint32> readLeniently(std::string_view text) {
    std::vector<uint32> codePoints;
    while (!text.empty() && text[0] != '\0') {
        uint32 codePoint = westernCodePoint(static_cast<uint8>(text[0]));
        std::size_t taken = 1;
        for (std::size_t length = 1; length <= 4 && length <= text.size(); ++length) {
            uint32 read = static_cast<uint8>(text[0]) & (length == 1 ? 0xFF : (1u << (7 - length)) - 1);
            for (std::size_t i = 1; i < length; ++i) read = read << 6 | (text[i] & 0x3F);
            const bool isLegal = read < 0xD800 || (read > 0xDFFF && read <= 0x10FFFF);
            if (!isLegal || encodeUtf8(read) != text.substr(0, length)) continue;
            codePoint = read;
            taken = length;
        }
        codePoints.push_back(codePoint);
        text.remove_prefix(taken);
    }
    return codePoints;
}

/// The UTF-8 text of the code points.
std::string textOf(const std::vector<uint32>& codePoints) {
    std::string text;
    for (const uint32 codePoint : codePoints) text += encodeUtf8(codePoint);
    return text;
}

TEST(Utf8, EveryCodePointSurvivesAppendAndParse) {
    String text;
    for (uint32 codePoint = 1; codePoint <= 0x10FFFF; ++codePoint) {
        if (codePoint == 0xD800) codePoint = 0xE000;
        text.clear();
        text.utf8_append(codePoint);
        ASSERT_EQ(text, encodeUtf8(codePoint));
        ASSERT_EQ(text.utf8_strict_peek(text.begin()), codePoint);
    }
}

TEST(Utf8, PartsCountCodePointsAndKeepBytes) {
    const String text = "aé€😀\xE4", letters = "abcdefghijklmnopqrst";
    const std::pair<String, String> parts[] = {
        {text.utf8_substr(1, 2), "é€"},       {text.utf8_substr(3, -1), "😀\xE4"},
        {letters.utf8_ellipsis(20), letters}, {letters.utf8_ellipsis(19), "abcdefg ... nopqrst"},
        {letters.utf8_ellipsis(6), " ... "},  {String("äöüÄÖÜßéè").utf8_ellipsis(7), "ä ... è"}};
    for (const auto& [part, expected] : parts) EXPECT_EQ(part, expected);
    EXPECT_EQ(text.utf8_at(3), 0x1F600u);
}

TEST(Utf8, CaseFollowsThePairsOfTheUnicodeDatabase) {
    const std::pair<String, const char*> texts[] = {
        {String("Straße ÀÉ Ωλ Жук Ǆ[×ā𐐀").utf8_lowercase(), "straße àé ωλ жук ǆ[×ā𐐨"},
        {String("straße àÿ ωλς жук ı µā").utf8_uppercase(), "STRAßE ÀŸ ΩΛς ЖУК ı µĀ"},
        {String("éa ß").utf8_capitalize(), "Éa ß"}};
    for (const auto& [text, expected] : texts) EXPECT_EQ(text, expected);
}

TEST(Utf8, RightToLeftFlagsReportStartAndPresence) {
    const std::pair<const char*, int> cases[] = {
        {"", 0},
        {"plain äöü 日本", 0},
        {"مرحبا world", 3},
        {"hello\nשלום", 2},
        {"a١", 0},             // an Arabic digit has an even level
        {"a ١ ٢", 2},          // the space between two of them has not
        {"١\t٢", 0},           // a tab takes the direction of the paragraph
        {"[א]", 3},            // brackets follow the text
        {"\u202Eab\u202C", 2}, // an override makes letters right-to-left
        {"\u202Dא\u202C", 3},  // an override to the left leaves the paragraph as it is
        {"\u2067א\u2069a", 2}, // isolates do not count for the paragraph
        {"a\u2068א\u2069", 2}, // the first strong letter decides an isolate
        {"a\u2068b\u2069", 0}};
    for (const auto& [text, flags] : cases) EXPECT_EQ(String(text).utf8_rtl_flags(), flags) << text;
}

TEST(Utf8, RightToLeftFlagsTakeLinearTimeAndLittleStack) {
    for (const char* piece : {"()", "[א]", "\u2066a\u2069", "\u2068א\u2069", "\u2067", "\u2069", "\u202Ea",
                              "\u202Ba\u202C", "a א ", "\nא"}) {
        String text = "א";
        while (text.size() < 512 << 10) text += piece; // in quadratic time it would take many minutes
        EXPECT_EQ(text.utf8_rtl_flags(), 3) << piece;
    }
}

class Utf8Kernels : public test::OnTarget {
protected:
    /// Compares the vector operations with the reference.
    static void expectAgreement(const String& text) {
        const auto codePoints = readLeniently(text);
        const std::string fixed = textOf(codePoints);
        ASSERT_EQ(text.utf8_to_unicode(), codePoints);
        ASSERT_EQ(text.utf8_size(), codePoints.size());
        ASSERT_EQ(text.utf8_fix(), fixed);
        ASSERT_EQ(utf8_is_valid(text), fixed == text.c_str());
        ASSERT_EQ(text.utf8_to_std_wstring(), std::wstring(codePoints.begin(), codePoints.end()));
        ASSERT_EQ(text.utf8_to_utf16(), utf16Of(codePoints));
    }

    static Vector<uint16> utf16Of(const std::vector<uint32>& codePoints) {
        Vector<uint16> units;
        for (const uint32 codePoint : codePoints) {
            const bool isPair = codePoint > 0xFFFF;
            if (isPair) units.push_back(static_cast<uint16>(0xD800 + (codePoint - 0x10000) / 0x400));
            units.push_back(static_cast<uint16>(isPair ? 0xDC00 + codePoint % 0x400 : codePoint));
        }
        return units;
    }
};

TEST_P(Utf8Kernels, AgreeForEveryBrokenSequenceAtEveryPosition) {
    const String breaks(
        "\xED\xA0\x80|\xC0\x80|\xC1\xBF|\xE0\x9F\xBF|\xF0\x8F\xBF\xBF|\xF4\x90\x80\x80|\xF5\x80\x80\x80|"
        "\xF8\x88\x80\x80\x80|\xC3|\xC3 |\xE2\x82|\xF0\x9F\x98|\x80|\xFF||");
    for (const String& broken : (breaks + '\0').split('|')) {
        for (const char* filler : {"a", "é", "€", "😀", "aé€😀\u007F\u0080"}) {
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

QEL_ON_EVERY_TARGET(Utf8Kernels);

} // namespace
} // namespace qel
