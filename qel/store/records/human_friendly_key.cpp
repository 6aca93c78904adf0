#include <qel/store/records/human_friendly_key.h>

#include <array>
#include <string_view>

namespace qel {

namespace {

constexpr std::string_view kAlphabet = "0123456789ABCDEFGHJKMNPQRSTVWXYZ";
constexpr uint32 kDigitMask = 31;
constexpr std::size_t kDigits = 4; ///< of a 20-bit number
constexpr std::size_t kBlockLength = kDigits + 1;
constexpr std::size_t kBlockStep = kBlockLength + 1;
constexpr std::size_t kBlocks = 4;

constexpr std::array<int8, 256> makeDigitValues() {
    std::array<int8, 256> values{};
    values.fill(-1);
    auto accept = [&values](char c, int value) {
        values[static_cast<uint8>(c)] = static_cast<int8>(value);
        if (c >= 'A' && c <= 'Z') values[static_cast<uint8>(c - 'A' + 'a')] = static_cast<int8>(value);
    };
    for (std::size_t i = 0; i < kAlphabet.size(); ++i) accept(kAlphabet[i], static_cast<int>(i));
    accept('O', 0);
    for (const char c : {'I', 'L'}) accept(c, 1);
    return values;
}

constexpr std::array<int8, 256> kDigitValues = makeDigitValues();

int digitValue(char c) {
    return kDigitValues[static_cast<uint8>(c)];
}

void appendDigit(String& text, uint32 value) {
    text += kAlphabet[value & kDigitMask];
}

void append20Bit(String& text, uint32 value) {
    for (std::size_t i = 0; i < kDigits; ++i) appendDigit(text, value >> 5 * i);
}

uint32 checkDigitOf(uint32 value) {
    const uint32 pairs = value ^ value >> 10;
    return (pairs ^ pairs >> 5) & kDigitMask;
}

/// Returns the number of a block; -1 if a character is invalid or the check fails.
int decodeBlock(const char* block) {
    const int value = HumanFriendlyKey::decode20Bit(block);
    if (value < 0) return -1;
    const int check = digitValue(block[kDigits]);
    return check == static_cast<int>(checkDigitOf(static_cast<uint32>(value))) ? value : -1;
}

bool hasFormOfFourBlocks(std::string_view text) {
    if (text.size() != HumanFriendlyKey::kTextLength80Bit) return false;
    for (std::size_t at = kBlockLength; at < text.size(); at += kBlockStep)
        if (text[at] != '-') return false;
    return true;
}

// Two blocks contain 40 bits, which are five whole bytes.
constexpr int kBytesOfBlockPair = 5;

uint64 readBlockPair(const uint8* bytes) {
    uint64 pair = 0;
    for (int i = 0; i < kBytesOfBlockPair; ++i) pair |= uint64{bytes[i]} << 8 * i;
    return pair;
}

void writeBlockPair(uint8* bytes, uint64 pair) {
    for (int i = 0; i < kBytesOfBlockPair; ++i) bytes[i] = static_cast<uint8>(pair >> 8 * i);
}

} // namespace

String HumanFriendlyKey::encode20Bit(int value) {
    String text;
    append20Bit(text, static_cast<uint32>(value));
    return text;
}

int HumanFriendlyKey::decode20Bit(const char* text) {
    if (!text) return -1;
    int value = 0;
    for (std::size_t i = 0; i < kDigits; ++i) {
        const int digit = digitValue(text[i]); // the NUL of a shorter text is not a digit
        if (digit < 0) return -1;
        value |= digit << 5 * i;
    }
    return value;
}

String HumanFriendlyKey::encode80BitIntoFourBlocks(const uint8* bytes) {
    String text;
    for (std::size_t block = 0; block < kBlocks; ++block) {
        const uint64 pair = readBlockPair(bytes + block / 2 * kBytesOfBlockPair);
        const uint32 value = static_cast<uint32>(pair >> block % 2 * 20) & 0xFFFFF;
        if (block != 0) text += '-';
        append20Bit(text, value);
        appendDigit(text, checkDigitOf(value));
    }
    return text;
}

int HumanFriendlyKey::decode80BitFromFourBlocks(uint8* bytes, const char* text) {
    if (!hasFormOfFourBlocks(SmartCStr(text).view())) return -1;
    std::array<uint64, 2> pairs{};
    for (std::size_t block = 0; block < kBlocks; ++block) {
        const int value = decodeBlock(text + block * kBlockStep);
        if (value < 0) return static_cast<int>(block) + 1;
        pairs[block / 2] |= static_cast<uint64>(value) << block % 2 * 20;
    }
    for (std::size_t i = 0; i < pairs.size(); ++i) writeBlockPair(bytes + i * kBytesOfBlockPair, pairs[i]);
    return 0;
}

} // namespace qel
