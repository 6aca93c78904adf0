#include <qel/foundation/base/byte_consumer.h>
#include <qel/foundation/base/crc32c.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

using qel::uint32;
using qel::uint8;

namespace {

uint32 crcOf(uint32 seed, const char* text) {
    return qel::util::crc32c(seed, reinterpret_cast<const uint8*>(text), std::strlen(text));
}

/// One bit at a time, by the definition: reflected polynomial 0x82F63B78.
uint32 crcByBits(uint32 state, const std::vector<uint8>& bytes) {
    for (const uint8 byte : bytes) {
        state ^= byte;
        for (int bit = 0; bit < 8; ++bit) state = state >> 1 ^ ((state & 1) != 0 ? 0x82F63B78u : 0u);
    }
    return state;
}

} // namespace

TEST(Crc32c, GivesThePublishedCheckValueComplementedInOneOrSeveralSteps) {
    EXPECT_EQ(~crcOf(0xFFFFFFFF, "123456789"), 0xE3069283u);
    EXPECT_EQ(~crcOf(crcOf(0xFFFFFFFF, "12345"), "6789"), 0xE3069283u);
}

TEST(Crc32c, EqualsTheDefinitionAtAllLengthsAndOffsets) {
    std::vector<uint8> bytes(700);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8>(i * 167 + 13);
    for (size_t n = 0; n < 640; n = n < 130 ? n + 1 : n + 51) {
        for (const size_t offset : {0, 1, 7}) {
            const auto begin = bytes.begin() + static_cast<long>(offset);
            const std::vector<uint8> piece(begin, begin + static_cast<long>(n));
            ASSERT_EQ(qel::util::crc32c(7, bytes.data() + offset, n), crcByBits(7, piece)) << n;
        }
    }
}

TEST(HashCRC32C, HashesAndCountsWhateverTheType) {
    qel::HashCRC32C hash;
    hash.process(qel::StreamType::Plain, reinterpret_cast<const uint8*>("1234"), 4);
    hash.process(qel::StreamType::Compressible, reinterpret_cast<const uint8*>("56789"), 5);
    EXPECT_EQ(hash.crc, crcOf(0, "123456789"));
    EXPECT_EQ(hash.byteCount, 9u);
}
