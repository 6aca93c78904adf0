#include <tests/support/formats_page.h>

#include <qel/store/records/human_friendly_key.h>

#include <gtest/gtest.h>

#include <array>

using Key = qel::HumanFriendlyKey;
using Value = std::array<qel::uint8, 10>;

TEST(HumanFriendlyKey, ReportsTheFirstBlockWithAWrongCharacter) {
    const Value counting{1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    const std::string good = Key::encode80BitIntoFourBlocks(counting.data());
    EXPECT_EQ(good, qel::test::documentedText("human-friendly-key"));
    for (size_t at = 0; at <= good.size(); ++at) {
        const int expected = at == good.size() ? 0 : good[at] == '-' ? -1 : static_cast<int>(at / 6) + 1;
        for (const char wrong : {'Z', 'u', '\x80'}) {
            std::string text = good;
            if (expected != 0) text[at] = wrong;
            Value value{};
            EXPECT_EQ(Key::decode80BitFromFourBlocks(value.data(), text.c_str()), expected) << text;
            EXPECT_EQ(value, expected == 0 ? counting : Value{}) << text;
        }
    }
    for (const std::string& text : {std::string(), good.substr(1), good + "0"})
        EXPECT_EQ(Key::decode80BitFromFourBlocks(nullptr, text.c_str()), -1) << text;
}

TEST(HumanFriendlyKey, AcceptsCharactersThatUsersConfuse) {
    for (const auto& [text, number] :
         {std::pair("y6fn...", 0xABCDE), {"olOI", 0x8020}, {"0i01", 0x8020}, {"ABC", -1}, {"ABUD", -1}})
        EXPECT_EQ(Key::decode20Bit(text), number) << text;
    for (int number = 0; number < 1 << 20; number += 37)
        ASSERT_EQ(Key::decode20Bit(Key::encode20Bit(number | 1 << 20).c_str()), number);
}
