#include <qel/foundation/base/buffer.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <string>

using qel::Buffer;
using qel::ConstByteSpan;
using qel::uint8;

namespace {

Buffer bufferOf(std::string_view text) {
    Buffer buffer;
    buffer.set(ConstByteSpan::fromText(text));
    return buffer;
}

std::string_view textOf(const Buffer& buffer) {
    return buffer.getConstByteSpan().asText();
}

} // namespace

TEST(Buffer, ResizeGrowsExactlyAndNeverShrinks) {
    Buffer buffer(100);
    EXPECT_EQ(buffer.getReservedSize(), 100u);
    buffer.resize(10);
    EXPECT_EQ(buffer.getReservedSize(), 100u);
    EXPECT_EQ(buffer.getLeftReserved(), 90u);
    buffer.resize(5000);
    EXPECT_EQ(buffer.getReservedSize(), 5000u);
}

TEST(Buffer, AppendingReservesAnEighthAndWholePagesAbove4096) {
    Buffer buffer;
    buffer.append(800);
    EXPECT_EQ(buffer.getReservedSize(), 900u);
    buffer.resizeExtraReserve(3640); // 4095 with the eighth
    EXPECT_EQ(buffer.getReservedSize(), 4095u);
    buffer.resizeExtraReserve(4096); // 4608
    EXPECT_EQ(buffer.getReservedSize(), 8192u);
    buffer.resizeExtraReserve(8192); // no growth, no reserve
    EXPECT_EQ(buffer.getReservedSize(), 8192u);
}

TEST(Buffer, ReservingKeepsTheSize) {
    Buffer buffer = bufferOf("abc");
    buffer.reserveTotal(2);
    EXPECT_EQ(buffer.getReservedSize(), 3u);
    buffer.reserveAdditionally(2, 10);
    EXPECT_EQ(buffer.getReservedSize(), 13u);
    buffer.reserveAdditionally(10, 100); // 10 are free
    EXPECT_EQ(buffer.getReservedSize(), 13u);
    buffer.reserveAdditionally(20, 10);
    EXPECT_EQ(buffer.getReservedSize(), 23u);
    EXPECT_EQ(textOf(buffer), "abc");
}

TEST(Buffer, MovingSwapsTheMemory) {
    Buffer a = bufferOf("first");
    Buffer b = bufferOf("second");
    const uint8* memory = a.getBytePointer();
    b = std::move(a);
    EXPECT_EQ(b.getBytePointer(), memory);
    EXPECT_EQ(textOf(a), "second");
    const Buffer c(std::move(b));
    EXPECT_TRUE(b.empty() && b.getBytePointer() == nullptr);
    EXPECT_EQ(textOf(c), "first");
}

TEST(Buffer, CopyingCopiesTheBytes) {
    Buffer a = bufferOf("abc");
    const Buffer b = a;
    a[0] = 'x';
    EXPECT_EQ(textOf(b), "abc");
    a = *&a;
    EXPECT_EQ(textOf(a), "xbc");
}

TEST(Buffer, ConvertsToTrueOnlyWithContent) {
    Buffer buffer = bufferOf("a");
    EXPECT_TRUE(buffer ? true : false);
    buffer.clear();
    EXPECT_FALSE(buffer ? true : false) << "memory without content is no content";
    EXPECT_EQ(buffer.getReservedSize(), 1u);
    buffer.free();
    EXPECT_EQ(buffer.getReservedSize(), 0u);
    EXPECT_EQ(static_cast<uint8*>(buffer), nullptr);
}

TEST(Buffer, JoinsTwoPieces) {
    const Buffer ab(reinterpret_cast<const uint8*>("ab"), 2, reinterpret_cast<const uint8*>("c"), 1);
    EXPECT_EQ(textOf(ab), "abc");
    EXPECT_TRUE(Buffer(nullptr, 0, nullptr, 0).empty());
}

TEST(Buffer, AppendsTextWithItsZero) {
    Buffer buffer;
    buffer.appendStringWithNull("ab");
    buffer.appendStringWithNull(nullptr);
    EXPECT_EQ(textOf(buffer), std::string_view("ab\0\0", 4));
}

TEST(Buffer, AReaderFillsTheReserveAndCommitsIt) {
    Buffer buffer;
    EXPECT_EQ(buffer.appendReserve().size, 0u);
    buffer.append(ConstByteSpan::fromText("ab"));
    buffer.reserveTotal(4);
    const qel::ByteSpan reserve = buffer.appendReserve();
    ASSERT_EQ(reserve.size, 2u);
    reserve.data[0] = 'c';
    buffer.appendCommit(1);
    EXPECT_EQ(textOf(buffer), "abc");
    buffer.appendCommit(SIZE_MAX);
    EXPECT_EQ(buffer.getSize(), 4u) << "never beyond the memory";
}

TEST(Buffer, ErasesAtBothEnds) {
    Buffer buffer = bufferOf("abcdef");
    buffer.eraseFront(0);
    buffer.eraseFront(2);
    buffer.eraseBack(1);
    EXPECT_EQ(textOf(buffer), "cde");
    buffer.eraseFront(3);
    EXPECT_TRUE(buffer.empty());
    buffer = bufferOf("abc");
    buffer.eraseBack(4);
    EXPECT_TRUE(buffer.empty());
    Buffer().eraseFront(1);
}

TEST(Buffer, InsertsInFront) {
    Buffer buffer = bufferOf("cd");
    buffer.insertFront(ConstByteSpan::fromText("ab"));
    EXPECT_EQ(textOf(buffer), "abcd");
}

TEST(Buffer, TakesItsOwnBytesAsASource) {
    Buffer buffer = bufferOf("abcd");
    buffer.append(buffer);
    EXPECT_EQ(textOf(buffer), "abcdabcd");
    buffer.append(buffer.getBytePointer() + 1, 2);
    EXPECT_EQ(textOf(buffer), "abcdabcdbc");
    buffer.insertFront({buffer.getBytePointer() + 8, 2});
    EXPECT_EQ(textOf(buffer), "bcabcdabcdbc");
    buffer.set(buffer.getBytePointer() + 2, 4);
    EXPECT_EQ(textOf(buffer), "abcd");
}

TEST(Buffer, ComparesBytesAsUnsignedAndThenSizes) {
    EXPECT_LT(bufferOf("a"), bufferOf("b"));
    EXPECT_GT(bufferOf("\xFF"), bufferOf("a"));
    EXPECT_EQ(Buffer::compare(bufferOf("abc"), bufferOf("a")), 2);
    EXPECT_EQ(Buffer::compare(bufferOf("a"), bufferOf("abc")), -2);
    EXPECT_EQ(Buffer::compare(Buffer(), bufferOf("abc")), -3);
    EXPECT_EQ(bufferOf("abc"), bufferOf("abc"));
    EXPECT_EQ(Buffer(), Buffer());
    EXPECT_NE(bufferOf("abc"), bufferOf("abd"));
}

TEST(Buffer, SizesThatOverflowLeaveItUnchanged) {
    Buffer buffer = bufferOf("abc");
    EXPECT_THROW(buffer.append(SIZE_MAX), std::bad_alloc);
    EXPECT_THROW(buffer.resizeExtraReserve(SIZE_MAX - 10), std::bad_alloc);
    EXPECT_THROW(buffer.reserveAdditionally(4, SIZE_MAX), std::bad_alloc);
    EXPECT_EQ(textOf(buffer), "abc");
}
