#include <qel/foundation/base/buffer.h>

#include <qel/files/file.h>
#include <qel/foundation/base/compression.h>
#include <qel/foundation/base/string.h>
#include <tests/files/failing_files.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>

#include <gtest/gtest.h>

namespace qel {
namespace {

using platform::FileOperation;
using test::FailingFiles;
using test::LogCapture;
using test::ScratchFolder;

std::string textOf(const Buffer& buffer) {
    return std::string(buffer.getConstByteSpan().asText());
}

Buffer bufferOf(std::string_view text) {
    Buffer buffer;
    buffer.set(ConstByteSpan::fromText(text));
    return buffer;
}

TEST(BufferFile, CompressedFilesComeBackWholeAndPlainOnesUnharmed) {
    ScratchFolder folder;
    const std::string text(100'000, 'q');
    EXPECT_TRUE(bufferOf(text).saveToFileCompressed(folder.path("packed").c_str()));
    EXPECT_LT(File::getFileSize(folder.path("packed")), 1000u);
    EXPECT_TRUE(bufferOf(text).saveToFile(folder.path("plain").c_str()));
    for (const char* name : {"packed", "plain"}) {
        Buffer buffer;
        EXPECT_TRUE(buffer.loadFromFile(folder.path(name).c_str(), false, true));
        EXPECT_EQ(textOf(buffer), text) << name;
    }
}

TEST(BufferFile, AnEmptyFileLoadsAsAnEmptyBuffer) {
    ScratchFolder folder;
    Buffer buffer = bufferOf("old");
    EXPECT_TRUE(buffer.loadFromFile(folder.write("empty", "").c_str(), false, true));
    EXPECT_TRUE(buffer.empty());
}

TEST(BufferFile, AMissingFileOrAFolderLeavesTheBufferAlone) {
    ScratchFolder folder;
    LogCapture log;
    Buffer buffer = bufferOf("old");
    EXPECT_FALSE(buffer.loadFromFile(folder.path("missing").c_str(), true, false));
    EXPECT_FALSE(buffer.loadFromFile(folder.path().c_str(), false, false));
    log.expect(3, "cant open file '" + folder.path() + "'");
    EXPECT_EQ(textOf(buffer), "old");
}

TEST(BufferFile, ADamagedFrameLeavesTheRawBytes) {
    ScratchFolder folder;
    Buffer frame;
    ASSERT_TRUE(util::compress(ConstByteSpan::fromText("some text that is long enough"), frame));
    frame[frame.getSize() - 3] ^= 0x55;
    frame.eraseBack(1);
    ASSERT_TRUE(frame.saveToFile(folder.path("damaged").c_str()));
    LogCapture log;
    Buffer buffer;
    EXPECT_FALSE(buffer.loadFromFile(folder.path("damaged").c_str(), true, true));
    log.expect(3, "failed to decompress compressed file '" + folder.path("damaged") + "'");
    EXPECT_EQ(buffer, frame);
}

TEST(BufferFile, AFailedReadIsToldAndAShortOneGoesOn) {
    ScratchFolder folder;
    const std::string path = folder.write("file", "0123456789");
    Buffer buffer;
    {
        LogCapture log;
        FailingFiles files(0, std::errc::io_error, FailingFiles::Duration::Once, FileOperation::Read);
        EXPECT_FALSE(buffer.loadFromFile(path.c_str(), true, false));
        log.expect(3, "cant read file '" + path + "' of 10 bytes");
    }
    FailingFiles files(3, std::errc::interrupted, FailingFiles::Duration::Once);
    files.makeShort();
    EXPECT_TRUE(buffer.loadFromFile(path.c_str(), false, false));
    EXPECT_EQ(textOf(buffer), "0123456789");
    EXPECT_TRUE(files.hasFailed());
}

TEST(BufferFile, AStringLoadsAndSavesItsBytes) {
    ScratchFolder folder;
    const String text = std::string("a\0b\xFF", 4);
    EXPECT_TRUE(text.saveToFile(folder.path("text")));
    String back;
    EXPECT_TRUE(back.loadFromFile(folder.path("text")));
    EXPECT_EQ(back, text);
}

} // namespace
} // namespace qel
