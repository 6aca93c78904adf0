#include <qel/foundation/base/string.h>

#include <gtest/gtest.h>

using namespace qel;

static int compare(const char* a, const char* b) {
    return String::natural_compare(a, b);
}

TEST(NaturalCompare, NumbersCompareByValueAndComeBeforeAnythingElse) {
    EXPECT_EQ(compare("a007", "a7"), 0);
    EXPECT_EQ(compare("a7b", "a07c"), -1);
    EXPECT_EQ(compare("1.2.10", "1.2.9"), 1);
    EXPECT_EQ(compare("5", "105"), -100);
    EXPECT_EQ(compare("a1", "a "), -1);
    EXPECT_EQ(compare("ab", "a1"), 1);
}

TEST(NaturalCompare, TheShorterTextComesFirstAndBytesCompareUnsignedAndWithCase) {
    EXPECT_EQ(compare("a0", "a"), 1);
    EXPECT_EQ(compare("", "a"), -1);
    EXPECT_EQ(compare("a", "a"), 0);
    EXPECT_EQ(compare("a", "B"), 'a' - 'B');
    EXPECT_GT(compare("\xC3\xA4", "z"), 0);
}

TEST(NaturalCompare, LongDigitRunsWrapAndKeepTheirSigns) {
    EXPECT_EQ(compare("4294967297", "1"), 0);
    EXPECT_GT(compare("4294967295", "0"), 0);
    EXPECT_LT(compare("0", "4294967295"), 0);
    EXPECT_EQ(compare("2147483647", "0"), 2147483647);
    const String longRun(100000, '9');
    EXPECT_EQ(String::natural_compare(longRun, longRun), 0);
}
