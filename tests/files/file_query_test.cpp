#include <qel/files/file.h>

#include <tests/files/file_fixture.h>

namespace qel {
namespace {

class FileQuery : public test::FileFixture {};

TEST_F(FileQuery, EveryByteButNulAndSlashMayStandInAName) {
    for (int byte = 1; byte < 256; byte++) {
        if (byte == '/') continue;
        const String name = path(std::string("x") + char(byte));
        EXPECT_TRUE(File::writeFile(name, {}) && File::existsFile(name) && File::deleteFile(name)) << byte;
    }
    EXPECT_EQ(folder.countEntries(), 0);
}

TEST_F(FileQuery, TellsFilesFoldersAndLinksApartAndTimesInTicksSince1601) {
    const platform::FileTime time{1'000'000'000, 123'456'789};
    ASSERT_FALSE(platform::setModified(folder.write("file", "12345").c_str(), &time));
    ASSERT_TRUE(File::createSymLink(path("link"), folder.makeFolder("dir"), true));
    ASSERT_TRUE(File::createSymLink(path("dangling"), "nowhere", false));
    File::FileInfo info;
    EXPECT_TRUE(File::getFileInfo(path("file"), info));
    EXPECT_TRUE(info.size == 5 && !info.isDirectory && !info.isSymLink);
    EXPECT_EQ(info.modificationTime, 126'444'736'001'234'567u);
    EXPECT_GT(info.creationTime, 133'000'000'000'000'000u) << "the file was made after 2022";
    EXPECT_TRUE(File::getFileInfo(path("link"), info) && info.isDirectory && info.isSymLink);
    EXPECT_TRUE(File::existsFile(path("dangling")));
    bool isDirectory = true;
    EXPECT_TRUE(File::checkIfDirectory(path("file"), isDirectory) && !isDirectory);
    EXPECT_FALSE(File::checkIfDirectory(path("missing"), isDirectory));
    EXPECT_EQ(File::getFileSize(path("missing")), 0u);
}

TEST_F(FileQuery, AccessToAMissingPathIsThatOfItsNearestFolder) {
    folder.write("file", "");
    for (const bool forWriting : {false, true}) {
        EXPECT_TRUE(File::isAccessible(path("file"), forWriting));
        EXPECT_TRUE(File::isAccessible(path("a/b/c/"), forWriting));
        EXPECT_FALSE(File::isAccessible(path("file/b"), forWriting)) << "a file is in the way";
        EXPECT_FALSE(File::isAccessible("", forWriting));
    }
    EXPECT_TRUE(File::isAccessible("surely-missing-here", false));
}

TEST_F(FileQuery, HashesTheRangeThatExists) {
    const std::string content(300'000, 'x');
    const std::string file = folder.write("file", content + "123456789");
    EXPECT_EQ(File::getFileHash(file, 0, 300'000), File::getFileHash(folder.write("x", content), 0, 300'000));
    EXPECT_EQ(File::getFileHash(file, 300'000, uint64(1) << 60), ~0xE3069283u)
        << "the check value's complement";
    EXPECT_EQ(File::getFileHash(file, 300'009, 1), 0xFFFFFFFF);
    for (const auto& noFile : {path("missing"), folder.path()})
        EXPECT_EQ(File::getFileHash(noFile, 0, 1), 0xFFFFFFFF);
    EXPECT_EQ(File::getFileHash(file, uint64(1) << 63, 1), 0xFFFFFFFF);
}

TEST_F(FileQuery, ComparesWholeContents) {
    const std::string a = folder.write("a", "same");
    EXPECT_TRUE(File::compareFiles(a, folder.write("b", "same"), false));
    EXPECT_FALSE(File::compareFiles(a, folder.write("c", "sama"), false) ||
                 File::compareFiles(a, path("missing"), true));
    EXPECT_TRUE(log.take().empty());
    EXPECT_FALSE(File::compareFiles(a, path("missing"), false));
    log.expect(3, "cant open file '" + path("missing") + "'");
}

TEST_F(FileQuery, PrefetchTellsWhatItDoesAndIsQuietAboutAMissingFile) {
    File::prefetchFileIfPossible(path("missing"));
    EXPECT_TRUE(log.take().empty());
    File::prefetchFileIfPossible(folder.write("file", "12345"));
    const std::string line = log.take().at(0).text;
    EXPECT_TRUE(line.starts_with("prefetching file '" + path("file") + "', TotalPhysicalMemory=")) << line;
    EXPECT_TRUE(line.ends_with(", FileSize=5")) << line;
}

} // namespace
} // namespace qel
