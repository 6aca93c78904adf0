#include <qel/foundation/base/buffer.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <new>

using namespace qel;

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

TEST(Buffer, ResizeGrowsExactlyAndAppendingByAnEighthAndToWholePagesAbove4096) {
    Buffer buffer(100);
    buffer.resize(500);
    EXPECT_EQ(buffer.getReservedSize(), 500u);
    buffer.append(300);
    EXPECT_EQ(buffer.getReservedSize(), 900u);
    // 4095 and 4608 with the eighth; the last one fits
    const std::pair<size_t, size_t> steps[] = {{3640, 4095}, {4096, 8192}, {8192, 8192}};
    for (const auto& [size, reserved] : steps) {
        buffer.resizeExtraReserve(size);
        EXPECT_EQ(buffer.getReservedSize(), reserved);
    }
}

TEST(Buffer, ReservingKeepsTheContentAndCountsWhatIsFree) {
    Buffer buffer = bufferOf("abc");
    buffer.reserveAdditionally(2, 10);
    buffer.reserveAdditionally(10, 100); // 10 are free
    buffer.reserveTotal(2);
    EXPECT_EQ(buffer.getReservedSize(), 13u);
    buffer.reserveAdditionally(20, 10);
    EXPECT_EQ(buffer.getReservedSize(), 23u);
    EXPECT_EQ(textOf(buffer), "abc");
}

TEST(Buffer, MovingSwapsTheMemoryAndCopyingCopiesIt) {
    Buffer a = bufferOf("first");
    Buffer b = bufferOf("second");
    const uint8* memory = a.getBytePointer();
    b = std::move(a);
    EXPECT_EQ(b.getBytePointer(), memory);
    EXPECT_EQ(textOf(a), "second");
    const Buffer copy = b;
    b[0] = 'F';
    b = *&b;
    EXPECT_EQ(textOf(copy), "first");
    EXPECT_EQ(textOf(Buffer(std::move(b))), "First");
    EXPECT_EQ(b.getBytePointer(), nullptr);
}

TEST(Buffer, AReaderFillsTheReserveAndCommitsIt) {
    Buffer buffer;
    EXPECT_EQ(buffer.appendReserve().size, 0u);
    buffer.append(ConstByteSpan::fromText("ab"));
    buffer.reserveTotal(4);
    const ByteSpan reserve = buffer.appendReserve();
    ASSERT_EQ(reserve.size, 2u);
    reserve.data[0] = 'c';
    buffer.appendCommit(1);
    EXPECT_EQ(textOf(buffer), "abc");
    buffer.appendCommit(SIZE_MAX);
    EXPECT_EQ(buffer.getSize(), 4u) << "never beyond the memory";
}

TEST(Buffer, EditsWhatIsThereWithItsOwnBytesAsASourceToo) {
    const std::pair<void (*)(Buffer&), std::string> edits[] = {
        {[](Buffer& buffer) { buffer.append(buffer); }, "abcdabcd"},
        {[](Buffer& buffer) { buffer.append(buffer.getBytePointer() + 1, 2); }, "abcdbc"},
        {[](Buffer& buffer) {
             buffer.insertFront({buffer.getBytePointer() + 2, 2});
         },
         "cdabcd"},
        {[](Buffer& buffer) { buffer.set(buffer.getBytePointer() + 2, 2); }, "cd"},
        {[](Buffer& buffer) { buffer.eraseFront(3); }, "d"},
        {[](Buffer& buffer) { buffer.eraseFront(5); }, ""},
        {[](Buffer& buffer) { buffer.eraseBack(1); }, "abc"},
        {[](Buffer& buffer) { buffer.eraseBack(5); }, ""},
        {[](Buffer& buffer) { buffer.appendStringWithNull("e"); }, std::string("abcde\0", 6)},
        {[](Buffer& buffer) { buffer.appendStringWithNull(nullptr); }, std::string("abcd\0", 5)}};
    const auto* bytes = reinterpret_cast<const uint8*>("abcd");
    for (const auto& [edit, expected] : edits) {
        Buffer buffer(bytes, 3, bytes + 3, 1);
        edit(buffer);
        EXPECT_EQ(textOf(buffer), expected);
        EXPECT_EQ(buffer ? true : false, !expected.empty()) << "memory without content is no content";
    }
}

TEST(Buffer, ComparesBytesAsUnsignedAndThenSizes) {
    EXPECT_GT(bufferOf("\xFF"), bufferOf("a"));
    EXPECT_EQ(bufferOf("abc"), bufferOf("abc"));
    EXPECT_EQ(Buffer::compare(bufferOf("abc"), bufferOf("a")), 2);
    EXPECT_EQ(Buffer::compare(Buffer(), bufferOf("abc")), -3);
}

TEST(Buffer, SizesThatOverflowLeaveItUnchanged) {
    Buffer buffer = bufferOf("abc");
    EXPECT_THROW(buffer.append(SIZE_MAX), std::bad_alloc);
    EXPECT_THROW(buffer.resizeExtraReserve(SIZE_MAX - 10), std::bad_alloc);
    EXPECT_THROW(buffer.reserveAdditionally(4, SIZE_MAX), std::bad_alloc);
    EXPECT_EQ(textOf(buffer), "abc");
}
