#include <qel/foundation/base/compression.h>

#include <gtest/gtest.h>

#include <string>

using qel::Buffer;
using qel::ConstByteSpan;
using qel::uint8;
using namespace qel::util;

namespace {

/// Builds a frame of one run-length block after a header with an 8-byte content size (RFC 8878,
/// section 3.1.1).
Buffer runLengthFrame(qel::uint64 statedSize, unsigned runLength) {
    Buffer frame;
    for (const int byte : {0x28, 0xB5, 0x2F, 0xFD, 0xE0}) *frame.append(1) = static_cast<uint8>(byte);
    for (int i = 0; i < 8; ++i) *frame.append(1) = static_cast<uint8>(statedSize >> 8 * i);
    const unsigned header = runLength << 3 | 1u << 1 | 1u;
    for (int i = 0; i < 3; ++i) *frame.append(1) = static_cast<uint8>(header >> 8 * i);
    *frame.append(1) = 'r';
    return frame;
}

} // namespace

TEST(Compression, AStatedSizeBeyondTheBlocksIsRefused) {
    Buffer content;
    ASSERT_TRUE(decompress(runLengthFrame(1000, 1000), content));
    EXPECT_EQ(content.getConstByteSpan().asText(), std::string(1000, 'r'));
    for (const qel::uint64 stated : {qel::uint64{1} << 63, qel::uint64{1} << 40, qel::uint64{1001}}) {
        EXPECT_FALSE(decompress(runLengthFrame(stated, 1000), content)) << stated;
    }
    EXPECT_FALSE(decompress(runLengthFrame(999, 1000), content)) << "the content exceeds the stated size";
    EXPECT_EQ(content.getSize(), 1000u) << "failure leaves the target unchanged";
}
