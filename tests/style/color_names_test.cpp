#include <qel/style/color_names.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

namespace qel {
namespace {

using util::getColorFromHexString;
using util::getColorFromString;
using util::getColorFromWebColor;

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

TEST(ColorNames, OtherThanHexadecimalDigitsChangeNothing) {
    for (const char* text :
         {"", "1", "12", "12345", "1234567", "123456789", "12g", "#123", "12345@", "-12"}) {
        IVec4<float> color(2, 3, 4, 5);
        EXPECT_FALSE(getColorFromHexString(text, color)) << text;
        EXPECT_EQ(color, IVec4<float>(2, 3, 4, 5)) << text;
    }
}

TEST(ColorNames, HexadecimalDigitsAreReadPairwise) {
    IVec4<float> color;
    EXPECT_TRUE(getColorFromHexString("33F", color, 0.25f));
    EXPECT_EQ(color, IVec4<float>(0.2f, 0.2f, 1, 0.25f));
    EXPECT_TRUE(getColorFromHexString("00000033", color));
    EXPECT_EQ(color, IVec4<float>(0, 0, 0, 0.2f));
}

TEST(ColorNames, OnlyWebColorsAreWebColors) {
    IVec4<float> color(2, 3, 4, 5);
    for (const char* name : {"primary", "gray75", "currentcolor", "fff", "inherit"})
        EXPECT_FALSE(getColorFromWebColor(name, color)) << name;
    EXPECT_EQ(color, IVec4<float>(2, 3, 4, 5));
    EXPECT_TRUE(getColorFromWebColor("Aqua", color));
    EXPECT_EQ(color, IVec4<float>(0, 1, 1, 1));
    EXPECT_TRUE(getColorFromWebColor("transparent", color));
    EXPECT_EQ(color, IVec4<float>(0, 0, 0, 0));
}

TEST(ColorNames, HueSaturationAndValueAreConverted) {
    const std::pair<IVec3<float>, IVec3<float>> colors[] = {{{0, 1, 1}, {1, 0, 0}},
                                                            {{0.25f, 1, 1}, {0.5f, 1, 0}},
                                                            {{0.5f, 1, 1}, {0, 1, 1}},
                                                            {{0.75f, 1, 0.5f}, {0.25f, 0, 0.5f}},
                                                            {{1, 1, 1}, {1, 0, 0}},
                                                            {{-0.75f, 1, 1}, {0.5f, 1, 0}},
                                                            {{0.3f, 0, 0.4f}, {0.4f, 0.4f, 0.4f}},
                                                            {{0, 9, 9}, {1, 0, 0}},
                                                            {{INFINITY, 1, 1}, {1, 0, 0}},
                                                            {{NAN, NAN, NAN}, {0, 0, 0}}};
    for (const auto& [hsv, rgb] : colors)
        EXPECT_EQ(util::convertHSVtoRGB(hsv), rgb) << hsv.x << " " << hsv.y << " " << hsv.z;
}

} // namespace
} // namespace qel
