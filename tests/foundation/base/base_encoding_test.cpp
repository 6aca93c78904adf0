#include <qel/foundation/base/base_encoding.h>
#include <qel/foundation/base/string.h>
#include <tests/support/simd_target.h>

#include <cstring>
#include <vector>

using namespace qel;
using Bytes = std::vector<uint8>;

namespace {

constexpr size_t kLongest = 200;
/// All byte values, in an order without a pattern in their bits.
Bytes makeBytes(size_t n) {
    Bytes bytes(n);
    for (size_t i = 0; i < n; ++i) bytes[i] = static_cast<uint8>(i * 167 + 13);
    return bytes;
}

struct Form {
    /// The digits that are written, followed by others that are also read.
    const char* digits;
    unsigned bitsPerDigit;
    void (*encode)(uint8* out, const uint8* in, size_t n);
    bool (*decode)(uint8* out, const uint8* in, size_t n);
};

const Form kForms[] = {
    {"0123456789ABCDEFabcdef", 4, util::encodeBase16, util::decodeBase16},
    {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/", 6,
     [](uint8* out, const uint8* in, size_t n) { util::encodeBase64(out, in, n, false); },
     util::decodeBase64},
    {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_", 6,
     [](uint8* out, const uint8* in, size_t n) { util::encodeBase64url(out, in, n, false); },
     util::decodeBase64url}};

/// Encodes by the text of RFC 4648, a bit at a time.
Bytes encodeByBits(const Bytes& bytes, const Form& form) {
    Bytes text;
    for (size_t bit = 0; bit < bytes.size() * 8; bit += form.bitsPerDigit) {
        unsigned value = 0;
        for (size_t i = bit; i < bit + form.bitsPerDigit; ++i) {
            value = value << 1 | (i / 8 < bytes.size() ? bytes[i / 8] >> (7 - i % 8) & 1u : 0u);
        }
        text.push_back(static_cast<uint8>(form.digits[value]));
    }
    return text;
}

class BaseEncoding : public test::OnTarget {};

} // namespace

QEL_ON_EVERY_TARGET(BaseEncoding);

// The vectors have no spare room, so that the address sanitizer finds every write past the end.
TEST_P(BaseEncoding, EachFormEqualsTheReferenceAtAllLengths) {
    for (const Form& form : kForms) {
        for (size_t n = 0; n <= kLongest; ++n) {
            const Bytes bytes = makeBytes(n);
            const Bytes expected = encodeByBits(bytes, form);
            Bytes text(expected.size()), decoded(n);
            form.encode(text.data(), bytes.data(), n);
            ASSERT_EQ(text, expected) << n;
            ASSERT_TRUE(form.decode(decoded.data(), text.data(), text.size())) << n;
            ASSERT_EQ(decoded, bytes) << n;
        }
    }
}

TEST_P(BaseEncoding, LongPaddingDoesNotMakeTheDecoderWriteMore) {
    for (size_t digits = 0; digits <= kLongest; digits += 4) {
        Bytes text(digits, 'A'), decoded(digits / 4 * 3);
        text.resize(digits + kLongest, '=');
        ASSERT_TRUE(util::decodeBase64(decoded.data(), text.data(), text.size())) << digits;
    }
}

TEST_P(BaseEncoding, CharactersOutsideTheAlphabetFailEverywhere) {
    for (const Form& form : kForms) {
        const Bytes good = encodeByBits(makeBytes(96), form);
        for (int c = 0; c < 256; ++c) {
            const bool isDigit = c != 0 && std::strchr(form.digits, c) != nullptr;
            for (const size_t position : {0, 5, 63, 64, 100, 126}) {
                Bytes text = good, decoded(96);
                text[position] = static_cast<uint8>(c);
                ASSERT_EQ(form.decode(decoded.data(), text.data(), text.size()), isDigit)
                    << c << " at " << position;
            }
        }
    }
}

TEST(StringBase16, ReadsPairsOfDigitsAndEndsAtAZero) {
    uint8 bytes[4] = {};
    EXPECT_FALSE(util::decodeBase16(bytes, bytes, static_cast<size_t>(-2)));
    for (const char* broken : {"4", "4g", "6aB"}) EXPECT_EQ(String(broken).decodeBase16(), "") << broken;
    EXPECT_EQ(String("6a4B0042").decodeBase16(), "jK");
}

TEST(StringBase64, PaddingIsOptionalAndEndsTheText) {
    EXPECT_EQ(String("A").encodeBase64WithPadding(), "QQ==");
    EXPECT_EQ(String("AB").encodeBase64WithPadding(), "QUI=");
    for (const char* text : {"QUI=", "QUI"}) EXPECT_EQ(String(text).decodeBase64(), "AB");
    for (const char* bad : {"=", "QQ=A"}) EXPECT_EQ(String(bad).decodeBase64(), "");
    uint8 bytes[4];
    for (const int size : {2, 3, 4}) EXPECT_EQ(String("QUJD").decodeBase64toBuffer(bytes, size), size == 3);
    EXPECT_EQ(String::encodeBase64fromBuffer(nullptr, 0, true), "");
}

TEST(StringBase64crc, BeginsWithTheLowBytesOfTheChecksum) {
    // The complement of 0xE3069283, the published check value of these nine characters, is 0x1CF96D7C.
    EXPECT_EQ(String("123456789").encodeBase64crc(), "fG35" + String("123456789").encodeBase64url());
    EXPECT_EQ(String("fG36MTIzNDU2Nzg5").decodeBase64crc(), "");
}

TEST(StringPercentForm, ReadsABrokenOrMissingPairAsAZero) {
    EXPECT_EQ(String("a \xFF\0b", 5).encodeUrlBase16(), "%61%20%FF");
    EXPECT_EQ(String("x%61%zzy").decodeUrlBase16(), String("xa\0y", 4));
    for (const char* cut : {"x%6", "x%"}) EXPECT_EQ(String(cut).decodeUrlBase16(), String("x\0", 2));
}

TEST(StringEscapes, ProduceWhatTheirReadersExpect) {
    EXPECT_EQ(String("<a&b>\"").utf8_escape_html(), "&lta&ampb&gt&quot");
    EXPECT_EQ(String("aZ09-_.~ /\xC3\xA4").utf8_escape_url(), "aZ09-_.~%20%2F%C3%A4");
    EXPECT_EQ(String("it's \\n").utf8_escape_php(), "it\\'s \\\\n");
    EXPECT_EQ(String("{tr:x}{").utf8_escape_controlcode(), "{!tr:x}{!");
    EXPECT_EQ(String("a\t\n\r\"*/:<>?\\|b.c").utf8_escape_filepath(), "a____________b.c");
    EXPECT_EQ(String("\xE4\x81").utf8_escape_filepath(), "\xC3\xA4\xEF\xBF\xBD") << "becomes valid text";
}
