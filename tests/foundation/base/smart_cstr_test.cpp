#include <qel/foundation/base/smart_cstr.h>

#include <qel/foundation/base/string.h>

#include <gtest/gtest.h>

namespace qel {
namespace {

std::size_t lengthOf(SmartCStr text) {
    return text.size();
}

TEST(SmartCStr, IsNeverNull) {
    const char* null = nullptr;
    SmartCStr text(null);
    EXPECT_EQ(text.size(), 0u);
    ASSERT_NE(text.c_str(), nullptr);
    text = "x";
    text.assign(nullptr);
    ASSERT_NE(text.c_str(), nullptr);
    text = nullptr;
    ASSERT_NE(text.c_str(), nullptr);
    text.clear();
    EXPECT_TRUE(text.empty());
    EXPECT_FALSE(text);
}

TEST(SmartCStr, TakesEveryKindOfText) {
    EXPECT_EQ(lengthOf(nullptr), 0u);
    EXPECT_EQ(lengthOf("ab"), 2u);
    EXPECT_EQ(lengthOf(String("abc")), 3u);
    EXPECT_EQ(lengthOf(std::string("a\0b", 3)), 1u);
}

TEST(SmartCStr, ComparesTextsNotAddresses) {
    const std::string copy = "abc";
    EXPECT_EQ(SmartCStr("abc"), SmartCStr(copy));
    EXPECT_EQ(SmartCStr("abc"), copy);
    EXPECT_NE(SmartCStr("abc"), "abd");
    EXPECT_LT(SmartCStr("ab"), "abc");
    EXPECT_LT(SmartCStr("a"), SmartCStr("\xE4"));
    EXPECT_NE(SmartCStr("a"), std::string("a\0", 2));
    EXPECT_EQ(SmartCStr(), nullptr);
}

TEST(SmartCStr, FindsEndsAndContents) {
    const SmartCStr text = "main.sq";
    EXPECT_TRUE(text.begins_with("main") && text.begins_with('m') && text.ends_with(".sq") &&
                text.ends_with('q'));
    EXPECT_TRUE(text.contains("n.s") && text.contains('.') && text.contains(nullptr));
    EXPECT_FALSE(text.contains("x") || text.contains('\0') || text.begins_with("main.sq ") ||
                 SmartCStr().ends_with('q'));
}

TEST(SmartCStr, StepsAndPartsStopAtTheEnd) {
    SmartCStr text = "ab";
    EXPECT_EQ(text.substr(1), "b");
    EXPECT_EQ(text.substr(2), "");
    EXPECT_EQ(text.substr(1000), "");
    EXPECT_EQ(text++, "ab");
    EXPECT_EQ(++text, "");
    EXPECT_EQ(++text, "");
    EXPECT_EQ(text.begin(), text.end());
}

} // namespace
} // namespace qel
