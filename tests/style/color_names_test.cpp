#include <qel/style/color_names.h>

#include <gtest/gtest.h>

#include <limits>
#include <utility>

namespace qel {
namespace {

using util::getColorFromString;

TEST(ColorNames, TextsBecomePackedColors) {
    const std::pair<const char*, uint32> colors[] = {
        {"ReD", 0xFF0000FF},
        {"rebeccapurple", 0xFF993366},
        {"aliceblue", 0xFFFFF8F0},
        {"yellowgreen", 0xFF32CD9A},
        {"LightGoldenRodYellow", 0xFFD2FAFA},
        {"transparent", 0x00000000},
        {"white-red", 0xFF0F48F5},
        {"PRIMARY", 0xFF3BC7FA},
        {"medium-primary", 0xFF3CABF8},
        {"complementary", 0xFFA36E31},
        {"gray75", 0xFFBFBFBF},
        {"gray10", 0xFF1A1A1A},
        {"main", 0xFFBFBFBF},
        {"fed", 0xFFDDEEFF},
        {"1234", 0x44332211},
        {"FEDCBA", 0xFFBADCFE},
        {"01234567", 0x67452301},
        {"", 0xFFFFFFFF},
        {"#fed", 0xFFFFFFFF},
        {"no color", 0xFFFFFFFF},
        {"lightgoldenrodyellow and a long text", 0xFFFFFFFF},
    };
    for (const auto& [text, packed] : colors) EXPECT_EQ(getColorFromString(text, 1), packed) << text;
}

TEST(ColorNames, TheArgumentIsTheAlphaOfWordsAndOfThreeOrSixDigits) {
    const std::pair<const char*, uint32> alphas[] = {{"red", 128},      {"abc", 128}, {"aabbcc", 128},
                                                     {"main", 255},     {"abc0", 0},  {"aabbcc11", 0x11},
                                                     {"transparent", 0}};
    for (const auto& [text, alpha] : alphas) EXPECT_EQ(getColorFromString(text, 0.5f) >> 24, alpha) << text;
    EXPECT_EQ(getColorFromString("black", 7) >> 24, 255u);
    EXPECT_EQ(getColorFromString("black", -7) >> 24, 0u);
    EXPECT_EQ(getColorFromString("abc", std::numeric_limits<float>::quiet_NaN()) >> 24, 0u);
}

} // namespace
} // namespace qel
