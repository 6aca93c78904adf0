#include <qel/foundation/base/base_encoding.h>
#include <qel/foundation/base/simd_target_p.h>
#include <qel/foundation/base/string.h>

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

using qel::String;
using qel::uint8;
using Bytes = std::vector<uint8>;

namespace {

constexpr uint8 kGuard = 0xA5;
constexpr size_t kGuardSize = 64;
constexpr size_t kLongest = 200;

/// An area of exactly @p size bytes with guards behind it.
class GuardedOutput {
public:
    explicit GuardedOutput(size_t size) : m_memory(size + kGuardSize, kGuard), m_size(size) {}
    uint8* data() { return m_memory.data(); }
    Bytes content() const { return Bytes(m_memory.begin(), m_memory.begin() + static_cast<long>(m_size)); }
    bool isIntact() const {
        return std::all_of(m_memory.begin() + static_cast<long>(m_size), m_memory.end(),
                           [](uint8 byte) { return byte == kGuard; });
    }

private:
    Bytes m_memory;
    size_t m_size;
};

/// All byte values, in an order without a pattern in their bits.
Bytes makeBytes(size_t n) {
    Bytes bytes(n);
    for (size_t i = 0; i < n; ++i) bytes[i] = static_cast<uint8>(i * 167 + 13);
    return bytes;
}

Bytes bytesOf(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

// Oracles: RFC 4648 read aloud, a bit at a time.

constexpr char kStandard[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kUrlSafe[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
constexpr char kBase16[] = "0123456789ABCDEF";

std::string encodeByBits(const Bytes& bytes, const char* alphabet, unsigned bitsPerDigit) {
    std::string text;
    for (size_t bit = 0; bit < bytes.size() * 8; bit += bitsPerDigit) {
        unsigned value = 0;
        for (size_t i = bit; i < bit + bitsPerDigit; ++i) {
            value = value << 1 | (i / 8 < bytes.size() ? bytes[i / 8] >> (7 - i % 8) & 1u : 0u);
        }
        text.push_back(alphabet[value]);
    }
    return text;
}

class BaseEncoding : public testing::TestWithParam<std::string> {
protected:
    void SetUp() override { ASSERT_TRUE(qel::internal::setSimdTarget(GetParam())); }
    void TearDown() override { qel::internal::setSimdTarget(""); }
};

struct Base64Form {
    const char* alphabet;
    void (*encode)(uint8*, const uint8*, size_t, bool);
    bool (*decode)(uint8*, const uint8*, size_t);
};
constexpr Base64Form kForms[] = {{kStandard, qel::util::encodeBase64, qel::util::decodeBase64},
                                 {kUrlSafe, qel::util::encodeBase64url, qel::util::decodeBase64url}};

} // namespace

INSTANTIATE_TEST_SUITE_P(Targets, BaseEncoding, testing::ValuesIn(qel::internal::simdTargets()),
                         [](const auto& info) { return info.param; });

TEST_P(BaseEncoding, Base16EqualsTheOracleAtAllLengthsAndStaysInItsMemory) {
    for (size_t n = 0; n <= kLongest; ++n) {
        const Bytes bytes = makeBytes(n);
        GuardedOutput text(2 * n);
        qel::util::encodeBase16(text.data(), bytes.data(), n);
        ASSERT_EQ(text.content(), bytesOf(encodeByBits(bytes, kBase16, 4))) << n;
        GuardedOutput decoded(n);
        ASSERT_TRUE(qel::util::decodeBase16(decoded.data(), text.data(), 2 * n)) << n;
        ASSERT_EQ(decoded.content(), bytes);
        ASSERT_TRUE(text.isIntact() && decoded.isIntact()) << n;
    }
}

TEST_P(BaseEncoding, Base64EqualsTheOracleAtAllLengthsAndStaysInItsMemory) {
    for (const Base64Form& form : kForms) {
        for (size_t n = 0; n <= kLongest; ++n) {
            const Bytes bytes = makeBytes(n);
            const std::string expected = encodeByBits(bytes, form.alphabet, 6);
            ASSERT_EQ(qel::util::getBase64EncodedSize(n, false), expected.size());
            GuardedOutput text(expected.size());
            form.encode(text.data(), bytes.data(), n, false);
            ASSERT_EQ(text.content(), bytesOf(expected)) << n;
            GuardedOutput decoded(n);
            ASSERT_TRUE(form.decode(decoded.data(), text.data(), expected.size())) << n;
            ASSERT_EQ(decoded.content(), bytes);
            ASSERT_TRUE(text.isIntact() && decoded.isIntact()) << n;
        }
    }
}

TEST_P(BaseEncoding, ALongPaddingDoesNotMakeTheDecoderWriteMore) {
    for (size_t digits = 0; digits <= kLongest; digits += 4) {
        const std::string text = std::string(digits, 'Q') + std::string(kLongest, '=');
        GuardedOutput decoded(digits / 4 * 3);
        const Bytes input = bytesOf(text);
        ASSERT_TRUE(qel::util::decodeBase64(decoded.data(), input.data(), input.size())) << digits;
        ASSERT_TRUE(decoded.isIntact()) << digits;
    }
}

TEST_P(BaseEncoding, EveryCharacterOutsideTheAlphabetFailsAtEveryPosition) {
    const Bytes bytes = makeBytes(96);
    for (unsigned c = 0; c < 256; ++c) {
        const char character = static_cast<char>(c);
        for (const Base64Form& form : kForms) {
            const bool isDigit = c != 0 && std::string(form.alphabet).find(character) != std::string::npos;
            for (const size_t position : {0, 5, 63, 64, 100, 126}) {
                Bytes text = bytesOf(encodeByBits(bytes, form.alphabet, 6));
                text[position] = static_cast<uint8>(c);
                GuardedOutput decoded(bytes.size());
                ASSERT_EQ(form.decode(decoded.data(), text.data(), text.size()), isDigit)
                    << c << " at " << position;
            }
        }
        const bool isDigit =
            c != 0 && std::string("0123456789ABCDEFabcdef").find(character) != std::string::npos;
        for (const size_t position : {0, 1, 62, 63, 128, 191}) {
            Bytes text = bytesOf(encodeByBits(bytes, kBase16, 4));
            text[position] = static_cast<uint8>(c);
            GuardedOutput decoded(bytes.size());
            ASSERT_EQ(qel::util::decodeBase16(decoded.data(), text.data(), text.size()), isDigit) << c;
        }
    }
}

TEST(BaseEncodingSizes, PaddingFillsUpToFourCharacters) {
    EXPECT_EQ(String("").encodeBase64WithPadding(), "");
    EXPECT_EQ(String("A").encodeBase64WithPadding(), "QQ==");
    EXPECT_EQ(String("AB").encodeBase64WithPadding(), "QUI=");
    EXPECT_EQ(String("ABC").encodeBase64WithPadding(), "QUJD");
    EXPECT_EQ(String("A").encodeBase64(), "QQ");
}

TEST(BaseEncodingSizes, AnOddOrNegativeNumberOfDigitsFails) {
    uint8 byte = kGuard;
    EXPECT_FALSE(qel::util::decodeBase16(&byte, &byte, 1));
    EXPECT_FALSE(qel::util::decodeBase16(&byte, &byte, static_cast<size_t>(-2)));
    EXPECT_EQ(byte, kGuard);
}

TEST(StringBase16, EndsAtTheFirstZeroByteUnlessItGoesToABuffer) {
    const String text("410042");
    EXPECT_EQ(text.decodeBase16(), "A");
    EXPECT_EQ(text.getDecodeBase16Size(), 3);
    uint8 bytes[3];
    ASSERT_TRUE(text.decodeBase16toBuffer(bytes, 3));
    EXPECT_EQ(bytes[2], 'B');
    EXPECT_FALSE(text.decodeBase16toBuffer(bytes, 2));
}

TEST(StringBase16, OddLengthsAndForeignCharactersGiveTheEmptyString) {
    EXPECT_EQ(String("4").decodeBase16(), "");
    EXPECT_EQ(String("4").getDecodeBase16Size(), -1);
    EXPECT_EQ(String("4g").decodeBase16(), "");
    EXPECT_EQ(String("6aB").decodeBase16(), "");
    EXPECT_EQ(String("6a4B").decodeBase16(), "jK");
}

TEST(StringBase64, PaddingMayBeMissingButNothingMayFollowIt) {
    EXPECT_EQ(String("QQ==").decodeBase64(), "A");
    EXPECT_EQ(String("QQ").decodeBase64(), "A");
    EXPECT_EQ(String("QQ==").getDecodeBase64Size(), 1);
    EXPECT_EQ(String("QQ=A").decodeBase64(), "");
    EXPECT_EQ(String("=").getDecodeBase64Size(), 0);
    EXPECT_EQ(String("Q-_Q").decodeBase64(), "");
    EXPECT_EQ(String("Q-_Q").decodeBase64url().size(), 3u);
}

TEST(StringBase64, TheBufferMustHaveExactlyTheDecodedSize) {
    uint8 bytes[4];
    EXPECT_FALSE(String("QUJD").decodeBase64toBuffer(bytes, 2));
    EXPECT_FALSE(String("QUJD").decodeBase64toBuffer(bytes, 4));
    EXPECT_TRUE(String("QUJD").decodeBase64toBuffer(bytes, 3));
    EXPECT_TRUE(String("_-8").decodeBase64urlToBuffer(bytes, 2));
}

TEST(StringBase64, ZeroBytesSurvive) {
    const String bytes("a\0b", 3);
    EXPECT_EQ(bytes.encodeBase64().decodeBase64(), bytes);
    EXPECT_EQ(String::encodeBase64fromBuffer(nullptr, 0, true), "");
    EXPECT_EQ(String::encodeBase16fromBuffer(nullptr, 0), "");
}

TEST(StringBase64crc, OfNothingIsFourCharacters) {
    const String text = String("").encodeBase64crc();
    EXPECT_EQ(text.size(), 4u);
    EXPECT_EQ(text.getDecodeBase64crcSize(), 0);
    uint8 none;
    EXPECT_TRUE(text.decodeBase64crcToBuffer(&none, 0));
}

TEST(StringBase64crc, HoldsTheLowBytesOfTheChecksumBeforeTheData) {
    // The complement of 0xE3069283, the published check value of these nine characters, is 0x1CF96D7C.
    const String text = String("123456789").encodeBase64crc();
    EXPECT_EQ(text, "fG35" + String("123456789").encodeBase64url());
    EXPECT_EQ(text.decodeBase64crc(), "123456789");
}

TEST(StringBase64crc, AnyChangedCharacterIsFound) {
    for (const char* data : {"1", "12", "123"}) {
        const String text = String(data).encodeBase64crc();
        for (size_t i = 0; i < text.size(); ++i) {
            for (const char* digit = kUrlSafe; *digit != 0; ++digit) {
                String changed = text;
                changed[i] = *digit;
                ASSERT_EQ(changed.decodeBase64crc(), changed == text ? data : "") << changed;
            }
        }
    }
}

TEST(StringBase64crc, TextsOfOtherFormsAreRefused) {
    const String text = String("1").encodeBase64crc();
    EXPECT_EQ(String("abc").getDecodeBase64crcSize(), -1);
    EXPECT_EQ(String("abc").decodeBase64crc(), "");
    EXPECT_EQ((text + "==").decodeBase64crc(), "");
    EXPECT_EQ((String("123").encodeBase64crc() + "A").decodeBase64crc(), "");
    EXPECT_EQ((text + "!").decodeBase64crc(), "");
}

TEST(StringPercentForm, EveryByteIsWrittenUpToTheFirstZero) {
    EXPECT_EQ(String("a b").encodeUrlBase16(), "%61%20%62");
    EXPECT_EQ(String("a\0b", 3).encodeUrlBase16(), "%61");
    EXPECT_EQ(String("\xFF").encodeUrlBase16(), "%FF");
}

TEST(StringPercentForm, ABrokenOrMissingPairGivesAZeroByteAndReadsNoFurther) {
    EXPECT_EQ(String("x%61%7Ay").decodeUrlBase16(), "xazy");
    EXPECT_EQ(String("x%zzy").decodeUrlBase16(), String("x\0y", 3));
    EXPECT_EQ(String("x%6").decodeUrlBase16(), String("x\0", 2));
    EXPECT_EQ(String("x%").decodeUrlBase16(), String("x\0", 2));
}

TEST(StringEscapes, KeepWhatTheirReadersExpect) {
    EXPECT_EQ(String("<a&b>\"").utf8_escape_html(), "&lta&ampb&gt&quot");
    EXPECT_EQ(String("aZ09-_.~ /\xC3\xA4").utf8_escape_url(), "aZ09-_.~%20%2F%C3%A4");
    EXPECT_EQ(String("it's \\n").utf8_escape_php(), "it\\'s \\\\n");
    EXPECT_EQ(String("{tr:x}{").utf8_escape_controlcode(), "{!tr:x}{!");
}

TEST(StringEscapes, FileNamesLoseWhatTheyCannotHoldAndBecomeValidText) {
    EXPECT_EQ(String("a\t\n\r\"*/:<>?\\|b.c").utf8_escape_filepath(), "a____________b.c");
    EXPECT_EQ(String("\xE4\x81").utf8_escape_filepath(), "\xC3\xA4\xEF\xBF\xBD");
}
