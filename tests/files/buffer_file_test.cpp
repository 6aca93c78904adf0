#include <qel/foundation/base/buffer.h>

#include <qel/files/file.h>
#include <qel/foundation/base/compression.h>
#include <tests/files/file_fixture.h>

namespace qel {
namespace {

using test::FailingFiles;

class BufferFile : public test::FileFixture {
protected:
    BufferFile() { buffer.set(ConstByteSpan::fromText("old")); }
    bool load(const char* name) { return buffer.loadFromFile(path(name).c_str(), false, true); }
    std::string_view text() const { return buffer.getConstByteSpan().asText(); }

    Buffer buffer;
};

TEST_F(BufferFile, CompressedFilesComeBackWholeAndPlainOnesUnharmed) {
    for (const std::string& content :
         {std::string(100'000, 'q'), std::string("a\0b\xFF", 4), std::string()}) {
        buffer.set(ConstByteSpan::fromText(content));
        EXPECT_TRUE(buffer.saveToFileCompressed(path("packed").c_str()));
        EXPECT_TRUE(buffer.saveToFile(path("plain").c_str()));
        EXPECT_LT(File::getFileSize(path("packed")), 1000u);
        for (const char* name : {"packed", "plain"}) {
            EXPECT_TRUE(load(name));
            EXPECT_EQ(text(), content) << name;
        }
        String string;
        EXPECT_TRUE(string.loadFromFile(path("plain")) && string == content);
    }
}

TEST_F(BufferFile, WhatCannotBeOpenedLeavesTheBufferAloneAndADamagedFrameItsRawBytes) {
    EXPECT_FALSE(buffer.loadFromFile(path("missing").c_str(), true, false) || load("."));
    log.expect(3, "cant open file '" + path(".") + "'");
    EXPECT_EQ(text(), "old");
    Buffer frame;
    ASSERT_TRUE(util::compress(ConstByteSpan::fromText("some text that is long enough"), frame));
    frame.eraseBack(1);
    ASSERT_TRUE(frame.saveToFile(path("damaged").c_str()));
    EXPECT_FALSE(load("damaged"));
    log.expect(3, "failed to decompress compressed file '" + path("damaged") + "'");
    EXPECT_EQ(buffer, frame);
}

TEST_F(BufferFile, AFailedReadIsToldAndAShortOneGoesOn) {
    folder.write("file", "0123456789");
    for (const std::errc error : {std::errc::io_error, std::errc::interrupted}) {
        const bool works = error == std::errc::interrupted;
        FailingFiles files(works ? 3 : 0, error, FailingFiles::Duration::Once, platform::FileOperation::Read);
        files.makeShort();
        EXPECT_EQ(load("file"), works);
        EXPECT_TRUE(files.hasFailed());
    }
    log.expect(3, "cant read file '" + path("file") + "' of 10 bytes");
    EXPECT_EQ(text(), "0123456789");
}

} // namespace
} // namespace qel
