#include <qel/files/file.h>

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/compression.h>
#include <qel/foundation/base/crc32c.h>
#include <tests/files/file_fixture.h>

#include <array>

namespace qel {
namespace {

TEST(FilePath, CanonicalFormNeverLeavesTheRoot) {
    const std::array<const char*, 3> cases[] = {
        // a path, its folder, and the canonical form or null for a path that is refused
        {"/a/./b/../c//d", "", "/a/c/d"}, {"b/../../c", "/x/y", "/x/c"},
        {"b/", "/x/", "/x/b/"},           {"a/..", "", "."},
        {"../../b", "/x", nullptr},       {"../b", "", nullptr}};
    for (const auto& [path, base, canonical] : cases) {
        String changed = path;
        EXPECT_EQ(File::pathCanonicalize(changed, base), canonical != nullptr) << path;
        EXPECT_EQ(changed, canonical ? canonical : path);
    }
}

TEST(FilePath, SplitsAtTheLastSlashAndTheLastDot) {
    const std::array<const char*, 4> cases[] = {// a path, its folder, its name and the extension of the name
                                                {"/a.b/c.tar.gz", "/a.b", "c.tar.gz", "gz"},
                                                {"b", "", "b", ""},
                                                {"/b", "/", "b", ""},
                                                {"/a.b/c", "/a.b", "c", ""},
                                                {"/a/.hidden", "/a", ".hidden", ""},
                                                {"a/", "a", "", ""},
                                                {"", "", "", ""}};
    for (const auto& [path, expectedDirectory, expectedName, extension] : cases) {
        String directory, name;
        File::splitFilePath(path, directory, name);
        EXPECT_EQ(directory, expectedDirectory) << path;
        EXPECT_EQ(name, expectedName) << path;
        EXPECT_EQ(File::getExtensionFromPath(path), extension) << path;
    }
}

class FileQuery : public test::FileFixture {};

TEST_F(FileQuery, ReportsKindsSizesAndTimes) {
    const platform::FileTime time{1'000'000'000, 123'456'789};
    ASSERT_FALSE(platform::setModified(folder.write("file", "12345").c_str(), &time));
    ASSERT_TRUE(File::createSymLink(path("link"), folder.makeFolder("dir"), true));
    ASSERT_TRUE(File::createSymLink(path("dangling"), "nowhere", false));
    File::FileInfo info;
    EXPECT_TRUE(File::getFileInfo(path("file"), info));
    EXPECT_EQ(info.size, 5u);
    EXPECT_FALSE(info.isDirectory);
    EXPECT_FALSE(info.isSymLink);
    EXPECT_EQ(info.modificationTime, 126'444'736'001'234'567u);
    EXPECT_GT(info.creationTime, 133'000'000'000'000'000u) << "the file was created after 2022";
    EXPECT_TRUE(File::getFileInfo(path("link"), info));
    EXPECT_TRUE(info.isDirectory);
    EXPECT_TRUE(info.isSymLink);
    EXPECT_TRUE(File::existsFile(path("dangling"))) << "a link exists without its target";
    EXPECT_EQ(File::getFileSize(path("missing")), 0u);
}

TEST_F(FileQuery, HashesOnlyTheExistingRange) {
    const std::string content = std::string(300'000, 'x') + "123456789";
    const std::string file = folder.write("file", content);
    EXPECT_EQ(File::getFileHash(file, 0, content.size()),
              util::crc32c(~0u, ConstByteSpan::fromText(content).data, content.size()));
    EXPECT_EQ(File::getFileHash(file, 300'000, uint64(1) << 60), ~0xE3069283u)
        << "the check value's complement";
    for (const uint64 behind : {uint64(300'009), uint64(1) << 63})
        EXPECT_EQ(File::getFileHash(file, behind, 1), 0xFFFFFFFF);
    EXPECT_EQ(File::getFileHash(folder.path(), 0, 1), 0xFFFFFFFF);
}

TEST_F(FileQuery, ComparesWholeContents) {
    const std::string a = folder.write("a", "same");
    EXPECT_TRUE(File::compareFiles(a, folder.write("b", "same"), false));
    EXPECT_FALSE(File::compareFiles(a, folder.write("c", "sama"), false));
    EXPECT_FALSE(File::compareFiles(a, path("missing"), true));
}

class BufferFile : public test::FileFixture {
protected:
    BufferFile() { buffer.set(ConstByteSpan::fromText("old")); }
    bool load(const char* name) { return buffer.loadFromFile(path(name).c_str(), false, true); }
    std::string_view text() const { return buffer.getConstByteSpan().asText(); }

    Buffer buffer;
};

TEST_F(BufferFile, ReadsCompressedAndPlainFiles) {
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
        EXPECT_TRUE(string.loadFromFile(path("plain")));
        EXPECT_EQ(string, content);
    }
}

TEST_F(BufferFile, ADamagedFrameLoadsItsRawBytes) {
    EXPECT_FALSE(buffer.loadFromFile(path("missing").c_str(), true, false));
    EXPECT_FALSE(load("."));
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

TEST_F(BufferFile, AFailedReadIsReportedAndAShortOneContinues) {
    folder.write("file", "0123456789");
    for (const std::errc error : {std::errc::io_error, std::errc::interrupted}) {
        const bool works = error == std::errc::interrupted;
        test::FailingFiles files(works ? 3 : 0, error, test::FailingFiles::Duration::Once,
                                 platform::Operation::Read);
        files.makeShort();
        EXPECT_EQ(load("file"), works);
        EXPECT_TRUE(files.hasFailed());
    }
    log.expect(3, "cant read file '" + path("file") + "' of 10 bytes");
    EXPECT_EQ(text(), "0123456789");
}

} // namespace
} // namespace qel
