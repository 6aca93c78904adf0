#include <qel/files/file.h>

#include <qel/foundation/base/crc32c.h>
#include <qel/platform/file_system.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>

#include <gtest/gtest.h>

namespace qel {
namespace {

using test::ScratchFolder;

constexpr uint32 kHashFailed = 0xFFFFFFFF;

uint32 hashOf(std::string_view text) {
    return util::crc32c(0xFFFFFFFF, reinterpret_cast<const uint8*>(text.data()), unsigned(text.size()));
}

TEST(FileQuery, EveryByteButNulAndSlashMayStandInAName) {
    ScratchFolder folder;
    for (int byte = 1; byte < 256; byte++) {
        if (byte == '/') continue;
        const String path = folder.path(std::string("x") + char(byte));
        ASSERT_TRUE(File::writeFile(path, {})) << byte;
        EXPECT_TRUE(File::existsFile(path)) << byte;
        EXPECT_TRUE(File::deleteFile(path)) << byte;
    }
    EXPECT_EQ(folder.countEntries(), 0);
}

TEST(FileQuery, TellsFilesFoldersAndLinksApart) {
    ScratchFolder folder;
    folder.write("file", "12345");
    folder.makeFolder("dir");
    ASSERT_TRUE(File::createSymLink(folder.path("link"), folder.path("dir"), true));
    ASSERT_TRUE(File::createSymLink(folder.path("dangling"), "nowhere", false));

    File::FileInfo info;
    EXPECT_TRUE(File::getFileInfo(folder.path("file"), info));
    EXPECT_TRUE(info.size == 5 && !info.isDirectory && !info.isSymLink);
    EXPECT_TRUE(File::getFileInfo(folder.path("link"), info));
    EXPECT_TRUE(info.isDirectory && info.isSymLink);
    EXPECT_TRUE(File::existsFile(folder.path("dangling")));
    bool isDirectory = true;
    EXPECT_TRUE(File::checkIfDirectory(folder.path("file"), isDirectory));
    EXPECT_FALSE(isDirectory);
    EXPECT_FALSE(File::checkIfDirectory(folder.path("missing"), isDirectory));
    EXPECT_EQ(File::getFileSize(folder.path("file")), 5u);
    EXPECT_EQ(File::getFileSize(folder.path("missing")), 0u);
}

TEST(FileQuery, TimesAreTicksSince1601) {
    ScratchFolder folder;
    const std::string path = folder.write("file", "");
    platform::FileTime time{1'000'000'000, 123'456'789};
    ASSERT_FALSE(platform::setModified(path.c_str(), &time));
    File::FileInfo info;
    ASSERT_TRUE(File::getFileInfo(path, info));
    EXPECT_EQ(info.modificationTime, 126'444'736'001'234'567u);
    EXPECT_GT(info.creationTime, 133'000'000'000'000'000u) << "the file was made after 2022";
}

TEST(FileQuery, AccessToAMissingPathIsThatOfItsNearestFolder) {
    ScratchFolder folder;
    folder.write("file", "");
    for (const bool forWriting : {false, true}) {
        EXPECT_TRUE(File::isAccessible(folder.path("file"), forWriting));
        EXPECT_TRUE(File::isAccessible(folder.path(), forWriting));
        EXPECT_TRUE(File::isAccessible(folder.path("a/b/c/"), forWriting));
        EXPECT_FALSE(File::isAccessible(folder.path("file/b"), forWriting)) << "a file is in the way";
        EXPECT_FALSE(File::isAccessible("", forWriting));
    }
    EXPECT_TRUE(File::isAccessible("surely-missing-here", false));
}

TEST(FileQuery, HashesTheRangeThatExists) {
    ScratchFolder folder;
    const std::string content(300'000, 'x');
    const std::string path = folder.write("file", content + "tail");
    EXPECT_EQ(File::getFileHash(path, 0, 300'000), hashOf(content));
    EXPECT_EQ(File::getFileHash(path, 300'000, uint64(1) << 60), hashOf("tail"));
    EXPECT_EQ(File::getFileHash(path, 300'004, 1), hashOf(""));
    EXPECT_EQ(File::getFileHash(folder.path("missing"), 0, 1), kHashFailed);
    EXPECT_EQ(File::getFileHash(folder.path(), 0, 1), kHashFailed);
    EXPECT_EQ(File::getFileHash(path, uint64(1) << 63, 1), kHashFailed);
}

TEST(FileQuery, ComparesWholeContents) {
    ScratchFolder folder;
    const std::string a = folder.write("a", "same"), b = folder.write("b", "same"),
                      c = folder.write("c", "sama");
    EXPECT_TRUE(File::compareFiles(a, b, false));
    EXPECT_FALSE(File::compareFiles(a, c, false));
    test::LogCapture log;
    EXPECT_FALSE(File::compareFiles(a, folder.path("missing"), true));
    EXPECT_TRUE(log.take().empty());
    EXPECT_FALSE(File::compareFiles(a, folder.path("missing"), false));
    log.expect(3, "cant open file '" + folder.path("missing") + "'");
}

TEST(FileQuery, PrefetchTellsWhatItDoesAndIsQuietAboutAMissingFile) {
    ScratchFolder folder;
    test::LogCapture log;
    File::prefetchFileIfPossible(folder.path("missing"));
    EXPECT_TRUE(log.take().empty());
    File::prefetchFileIfPossible(folder.write("file", "12345"));
    const auto lines = log.take();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(
        lines[0].text.starts_with("prefetching file '" + folder.path("file") + "', TotalPhysicalMemory="));
    EXPECT_TRUE(lines[0].text.ends_with(", FileSize=5"));
    EXPECT_TRUE(lines[1].text.starts_with("prefetch performed in ") ||
                lines[1].text == "no prefetch performed, not enough physical memory");
}

} // namespace
} // namespace qel
