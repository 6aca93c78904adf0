#include <qel/foundation/base/smart_cstr.h>

#include <qel/foundation/base/string.h>

#include <gtest/gtest.h>

using namespace qel;

TEST(SmartCStr, IsNeverNullWhateverTheKindOfText) {
    SmartCStr text(static_cast<const char*>(nullptr));
    ASSERT_STREQ(text.c_str(), "");
    const String abc = "abc";
    text = abc;
    EXPECT_EQ(text.size(), 3u);
    text.assign(nullptr);
    EXPECT_STREQ(text.c_str(), "");
    EXPECT_TRUE(text.empty() && !text);
    EXPECT_EQ(SmartCStr(std::string("a\0b", 3)).size(), 1u);
}

TEST(SmartCStr, ComparesTextsNotAddresses) {
    const std::string copy = "abc";
    EXPECT_EQ(SmartCStr("abc"), SmartCStr(copy));
    EXPECT_LT(SmartCStr("a"), SmartCStr("\xE4"));
    EXPECT_NE(SmartCStr("a"), std::string("a\0", 2));
    EXPECT_EQ(SmartCStr(), nullptr);
}

TEST(SmartCStr, FindsEndsAndContents) {
    const SmartCStr text = "main.sq";
    EXPECT_TRUE(text.begins_with("main") && text.ends_with(".sq") && text.contains("n.s"));
    EXPECT_TRUE(text.begins_with('m') && text.ends_with('q') && text.contains(nullptr));
    EXPECT_FALSE(text.contains("x") || text.contains('\0') || text.begins_with("main.sq ") ||
                 SmartCStr().ends_with('q'));
}

TEST(SmartCStr, StepsAndPartsStopAtTheEnd) {
    SmartCStr text = "ab";
    EXPECT_EQ(text.substr(1), "b");
    EXPECT_EQ(text.substr(1000), "");
    EXPECT_EQ(text++, "ab");
    ++text;
    EXPECT_EQ(++text, "");
    EXPECT_EQ(text.begin(), text.end());
}
