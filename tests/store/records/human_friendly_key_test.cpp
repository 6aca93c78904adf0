#include <qel/store/records/human_friendly_key.h>

#include <gtest/gtest.h>

#include <array>

using qel::HumanFriendlyKey;
using qel::uint8;

namespace {

using Value = std::array<uint8, 10>;

const Value kCounting{1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
constexpr const char* kCountingText = "1G06Q-02M0P-6R1GF-G481X";

/// Decodes @p text. @return what the codec returned. Bytes behind a failure must be untouched.
int decode(const std::string& text, Value& value) {
    value.fill(0xEE);
    const int result = HumanFriendlyKey::decode80BitFromFourBlocks(value.data(), text.c_str());
    if (result != 0) {
        EXPECT_EQ(value, (Value{0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}));
    }
    return result;
}

} // namespace

TEST(HumanFriendlyKey, WritesTheKnownTexts) {
    EXPECT_EQ(HumanFriendlyKey::encode20Bit(0x30201), "1G06");
    EXPECT_EQ(HumanFriendlyKey::encode20Bit(0xABCDE), "Y6FN");
    EXPECT_EQ(HumanFriendlyKey::encode20Bit(-1), "ZZZZ");
    EXPECT_EQ(HumanFriendlyKey::encode80BitIntoFourBlocks(kCounting.data()), kCountingText);
    Value value;
    EXPECT_EQ(decode(kCountingText, value), 0);
    EXPECT_EQ(value, kCounting);
}

TEST(HumanFriendlyKey, ReadsEveryNumberBackAndForgivesWhatPeopleConfuse) {
    for (int number = 0; number < 1 << 20; number += 37)
        ASSERT_EQ(HumanFriendlyKey::decode20Bit(HumanFriendlyKey::encode20Bit(number).c_str()), number);
    EXPECT_EQ(HumanFriendlyKey::decode20Bit("y6fn and more"), 0xABCDE);
    for (const char* text : {"0101", "OIoi", "olOL"})
        EXPECT_EQ(HumanFriendlyKey::decode20Bit(text), 1 << 5 | 1 << 15) << text;
    for (const char* text : {"", "ABC", "ABUD", "AB-D",
                             "A\xC3\x84"
                             "B"})
        EXPECT_EQ(HumanFriendlyKey::decode20Bit(text), -1) << text;
    EXPECT_EQ(HumanFriendlyKey::decode20Bit(nullptr), -1);
}

TEST(HumanFriendlyKey, NamesTheFirstBlockWithAWrongCharacter) {
    const std::string good = kCountingText;
    Value value;
    for (std::size_t at = 0; at < good.size(); ++at) {
        for (const char wrong : {'8', 'u', '\x80'}) {
            std::string text = good;
            text[at] = wrong;
            const bool isJoint = good[at] == '-';
            const int expected = text == good ? 0 : isJoint ? -1 : static_cast<int>(at / 6) + 1;
            ASSERT_EQ(decode(text, value), expected) << text;
        }
    }
    EXPECT_EQ(decode("1G06Q-02M0Q-6R1GG-G481X", value), 2);
    for (const std::string& text : {std::string(), good.substr(1), good + "0"})
        EXPECT_EQ(decode(text, value), -1) << text;
    EXPECT_EQ(HumanFriendlyKey::decode80BitFromFourBlocks(value.data(), nullptr), -1);
}

TEST(HumanFriendlyKey, ReadsEveryBitOfAValueBack) {
    for (int bit = 0; bit < 80; ++bit) {
        Value value{}, read;
        value[bit / 8] = static_cast<uint8>(1 << bit % 8);
        ASSERT_EQ(decode(HumanFriendlyKey::encode80BitIntoFourBlocks(value.data()), read), 0);
        ASSERT_EQ(read, value) << "bit " << bit;
    }
}
