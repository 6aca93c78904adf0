#include <qel/foundation/base/charset.h>
#include <qel/foundation/base/string.h>

#include <tests/support/log_capture.h>

#include <gtest/gtest.h>

using qel::Charset;
using qel::String;
using qel::test::LogCapture;

TEST(Charset, EachRepertoireConvertsToUtf8AndBack) {
    using enum Charset;
    const std::tuple<Charset, const char*, const char*> samples[] = {
        {Utf8, "\xC3\xA4", "\u00E4"},
        {Latin1, "\xE4\x80", "\u00E4\u0080"},
        {Latin2, "\xF8\xA1\x80", "\u0159\u0104\u0080"},
        {Cyrillic, "\xD6\xF1", "\u0436\u0451"},
        {Arabic, "\xC8", "\u0628"},
        {Greek, "\xE1", "\u03B1"},
        {Hebrew, "\xE0", "\u05D0"},
        {Thai, "\xA1", "\u0E01"},
        {JapaneseX0201, "\xD4", "\uFF94"},
        {JapaneseX0208, "\xBB\xB3", "\u5C71"},
        {JapaneseX0212, "\x8F\xB0\xA1", "\u4E02"},
        {ChineseGB2312, "\xCD\xF5", "\u738B"},
        {ChineseGB18030, "\x81\x30\x81\x30", "\u0080"},
        {ChineseGBK, "\x81\x40", "\u4E02"},
        {Korean, "\xB1\xE8", "\uAE40"},
        {Korean, "\x81\x42\xC6\x52", "\uAC03\uD7A3"}}; // the whole unified Hangul code
    for (const auto& [charset, bytes, text] : samples) {
        EXPECT_EQ((String("A") + bytes).utf8_convert_from_charset(charset), String("A") + text);
        EXPECT_EQ((String("A") + text).utf8_convert_to_charset(charset), String("A") + bytes);
    }
}

TEST(Charset, RepertoireSwitchesAreRemoved) {
    const String text = String("\x1B$)C\xB1\xE8\x1B(B^\x1B-FHong").utf8_convert_from_charset(Charset::Korean);
    EXPECT_EQ(text, "\uAE40^Hong");
    EXPECT_EQ(String("\x1B(X\x1B$\x1B").remove_escape_langchange(), "\x1B(X\x1B$\x1B") << "others stay";
}

TEST(Charset, BytesThatAreNotCharactersAreLogged) {
    LogCapture capture;
    EXPECT_EQ(String("\xB1!").utf8_convert_from_charset(Charset::Korean), "");
    capture.expect(3, "utf8 convert from charset 24error: codecvt ERROR");
    EXPECT_EQ(String("A\xB1").utf8_convert_from_charset(Charset::Korean), "");
    capture.expect(3, "utf8 convert from charset 24error: codecvt NOCONV - wrong enconding or char");
}

TEST(Charset, EveryRepertoireRefusesACharacterItLacks) {
    LogCapture capture;
    for (const int id : {1, 2, 3, 4, 5, 6, 7, 8, 9, 17, 18, 19, 20, 23, 24}) {
        EXPECT_EQ(String("A\U0001F600").utf8_convert_to_charset(static_cast<Charset>(id)), "") << id;
        capture.expect(3, "Encoding codevt conversion error");
    }
}
