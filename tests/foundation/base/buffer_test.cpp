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

TEST(Buffer, StaysUnchangedIfASizeOverflows) {
    Buffer buffer = bufferOf("abc");
    EXPECT_THROW(buffer.append(SIZE_MAX), std::bad_alloc);
    EXPECT_THROW(buffer.resizeExtraReserve(SIZE_MAX - 10), std::bad_alloc);
    EXPECT_EQ(textOf(buffer), "abc");
}
