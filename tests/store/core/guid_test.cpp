#include <qel/store/core/guid.h>

#include <gtest/gtest.h>

namespace {

using qel::GUID;

constexpr const char* kDigits = "01000000000000000000000000000000000000000000000000000000000000AB";

TEST(Guid, IsWrittenInByteOrder) {
    GUID guid;
    guid.bytes[0] = 1;
    guid.bytes[31] = 0xAB;
    EXPECT_EQ(guid.toString(), kDigits);
    EXPECT_EQ(GUID::fromString("01000000000000000000000000000000000000000000000000000000000000ab"), guid);
    for (const char* const text :
         {"", "01", "0100000000000000000000000000000000000000000000000000000000000000AB",
          "x1000000000000000000000000000000000000000000000000000000000000AB0"}) {
        EXPECT_TRUE(GUID::fromString(text).isNull()) << text;
    }
}

TEST(Guid, HasANickname) {
    EXPECT_EQ(GUID().getFantasyName(), "god");
    // The syllables follow from 32-bit FNV-1a of a byte 01, 30 zeros and a byte AB, computed outside this
    // library.
    EXPECT_EQ(GUID::fromString(kDigits).getFantasyName(), "latraduror");
}

} // namespace
