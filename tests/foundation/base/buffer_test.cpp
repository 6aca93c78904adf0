#include <qel/foundation/base/buffer.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <type_traits>

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

TEST(Buffer, ResizeGrowsExactlyAndAppendByAnEighthOrPages) {
    Buffer buffer;
    buffer.resize(500);
    EXPECT_EQ(buffer.getReservedSize(), 500u);
    const std::pair<size_t, size_t> steps[] = {{800, 900}, {3640, 4095}, {4096, 8192}, {8192, 8192}};
    for (const auto& [size, reserved] : steps) {
        buffer.append(size - buffer.getSize());
        EXPECT_EQ(buffer.getReservedSize(), reserved) << size;
    }
}

TEST(Buffer, ReservingKeepsTheContent) {
    Buffer buffer = bufferOf("abc");
    buffer.reserveAdditionally(2, 10);
    buffer.reserveAdditionally(10, 100); // 10 are free
    EXPECT_EQ(buffer.getReservedSize(), 13u);
    buffer.reserveAdditionally(20, 10);
    EXPECT_EQ(buffer.getReservedSize(), 23u);
    EXPECT_EQ(textOf(buffer), "abc");
}

TEST(Buffer, MovingSwapsAndCopyingCopies) {
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
}

TEST(Buffer, CommitsAtMostTheReserve) {
    Buffer buffer = bufferOf("ab");
    buffer.reserveTotal(4);
    ASSERT_EQ(buffer.appendReserve().size, 2u);
    buffer.appendReserve().data[0] = 'c';
    buffer.appendCommit(1);
    EXPECT_EQ(textOf(buffer), "abc");
    buffer.appendCommit(SIZE_MAX);
    EXPECT_EQ(buffer.getSize(), 4u);
}

TEST(Buffer, EditsMayUseItsOwnBytesAsTheirSource) {
    const std::pair<void (*)(Buffer&), std::string> edits[] = {
        {[](Buffer& b) { b.append(b.getBytePointer() + 1, 2); }, "abcdbc"},
        {[](Buffer& b) { b.insertFront(ConstByteSpan(b.getBytePointer() + 2, 2)); }, "cdabcd"},
        {[](Buffer& b) { b.set(b.getBytePointer() + 2, 2); }, "cd"},
        {[](Buffer& b) { b.eraseFront(3); }, "d"},
        {[](Buffer& b) { b.eraseFront(5); }, ""},
        {[](Buffer& b) { b.eraseBack(1); }, "abc"},
        {[](Buffer& b) { b.eraseBack(5); }, ""},
        {[](Buffer& b) { b.appendStringWithNull("e"); }, std::string("abcde\0", 6)},
        {[](Buffer& b) { b.appendStringWithNull(nullptr); }, std::string("abcd\0", 5)}};
    const auto* bytes = reinterpret_cast<const uint8*>("abcd");
    for (const auto& [edit, expected] : edits) {
        Buffer buffer(bytes, 3, bytes + 3, 1);
        edit(buffer);
        EXPECT_EQ(textOf(buffer), expected);
    }
}

static bool passed(bool value) {
    return value;
}

TEST(Buffer, IsTrueWhereverABoolIsWantedUnlessEmpty) {
    Buffer full = bufferOf("a");
    Buffer cleared = bufferOf("a");
    cleared.clear(); // keeps its memory
    const Buffer& constCleared = cleared;
    EXPECT_FALSE(passed(cleared));
    EXPECT_FALSE(passed(constCleared));
    EXPECT_TRUE(passed(full));
    EXPECT_TRUE(!cleared);
    EXPECT_TRUE(cleared.getBytePointer());
    static_assert(!std::is_convertible_v<Buffer, int>);
    static_assert(std::is_convertible_v<Buffer&, uint8*>);
}

TEST(Buffer, ComparesBytesAsUnsignedAndThenSizes) {
    EXPECT_GT(bufferOf("\xFF"), bufferOf("a"));
    EXPECT_EQ(Buffer::compare(bufferOf("abc"), bufferOf("a")), 2);
}

TEST(Buffer, StaysUnchangedIfASizeOverflows) {
    Buffer buffer = bufferOf("abc");
    EXPECT_THROW(buffer.append(SIZE_MAX), std::bad_alloc);
    EXPECT_THROW(buffer.resizeExtraReserve(SIZE_MAX - 10), std::bad_alloc);
    EXPECT_EQ(textOf(buffer), "abc");
}
