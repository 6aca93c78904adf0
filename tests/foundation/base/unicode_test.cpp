#include <qel/foundation/base/unicode.h>

#include "utf8_oracle.h"

#include <gtest/gtest.h>

using namespace qel;
using namespace qel::util;

TEST(Unicode, CodePage1252AndItsReverseAgree) {
    for (uint32 byte = 0; byte < 256; ++byte) {
        const uint32 expected = test::westernCodePoint(static_cast<uint8>(byte));
        const uint32 codePoint = expected == 0xFFFD ? kNoCodePoint : expected;
        EXPECT_EQ(unicode_from_cp1252(byte), codePoint);
        if (codePoint != kNoCodePoint) {
            EXPECT_EQ(cp1252_from_unicode(codePoint), byte);
        }
    }
    for (const uint32 value : {0x81u, 0x85u, 0x100u, 0x1F600u, kNoCodePoint})
        EXPECT_EQ(cp1252_from_unicode(value), kNoCodePoint);
    for (const uint32 value : {256u, kNoCodePoint}) EXPECT_EQ(unicode_from_cp1252(value), kNoCodePoint);
}

TEST(Unicode, CaseMappingsLeadBack) {
    int pairs = 0;
    for (uint32 codePoint = 0; codePoint < 0x20000; ++codePoint) {
        const uint32 lower = unicode_tolower(codePoint);
        if (lower == codePoint) continue;
        ++pairs;
        ASSERT_EQ(unicode_toupper(lower), codePoint);
        ASSERT_EQ(unicode_tolower(lower), lower);
    }
    EXPECT_GT(pairs, 1000);
    EXPECT_EQ(unicode_toupper(0xFFFFFFFF), 0xFFFFFFFFu);
}

TEST(Unicode, CaseRunsStopWhereTheirGapsBegin) {
    const std::pair<uint32, uint32> lowered[] = {
        {'A', 'a'}, {'[', '['}, {0xD7, 0xD7}, {0x101, 0x101}, {0x10400, 0x10428}};
    for (const auto& [upper, lower] : lowered) EXPECT_EQ(unicode_tolower(upper), lower);
    const std::pair<uint32, uint32> raised[] = {{0xFF, 0x178}, {0x101, 0x100}, {0x131, 0x131}};
    for (const auto& [lower, upper] : raised) EXPECT_EQ(unicode_toupper(lower), upper);
}

TEST(Unicode, SpecialCharactersAreTheUnseenOnes) {
    for (const int32 special : {0, 9, 32, 127, 160, 173}) EXPECT_TRUE(unicode_is_special_character(special));
    for (const int32 plain : {-1, -2147483647, 33, 126, 161, 172, 174, 0x200B})
        EXPECT_FALSE(unicode_is_special_character(plain));
}

TEST(Unicode, WesternEuropeanIsLatin1AndCodePage1252) {
    for (const uint32 western : {0u, 0x81u, 0xFFu, 0x20ACu, 0x178u})
        EXPECT_TRUE(unicode_is_western_european(western));
    for (const uint32 other : {0x100u, 0x416u, kNoCodePoint})
        EXPECT_FALSE(unicode_is_western_european(other));
}
