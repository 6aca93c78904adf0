#include <qel/files/directory.h>

#include <tests/files/file_fixture.h>

#include <fstream>
#include <set>

namespace qel {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using test::FailingFiles;

// A tree with a link out of it, a link to itself and a file. No test changes the target of the first link.
class DirectoryTree : public test::FileFixture {
protected:
    DirectoryTree() {
        folder.write("outside/precious", "keep me");
        folder.write("tree/sub/file", "12345");
        File::createSymLink(path("tree/out"), "../outside", true);
        File::createSymLink(path("tree/sub/loop"), "..", true);
    }
    void TearDown() override { EXPECT_EQ(folder.read("outside/precious"), "keep me"); }

    const String tree = path("tree");
};

TEST_F(DirectoryTree, ReadsEachEntryOnceInFoldersOfAnySize) {
    for (int i = 0; i < 3000; i++)
        std::ofstream(tree + "/a file with a name of some length " + std::to_string(i));
    Directory directory(tree);
    std::set<String> seen;
    for (File::FileInfo info; directory.read(info);) {
        EXPECT_EQ(info.isDirectory, !info.name.starts_with("a file"));
        EXPECT_EQ(info.isSymLink, info.name == "out");
        seen.insert(info.name);
    }
    EXPECT_EQ(seen.size(), 3002u);
    EXPECT_TRUE(directory.open(tree + "/sub/")) << "a second open starts again";
    EXPECT_EQ(directory.readNextFile(), "file");
    EXPECT_EQ(directory.readNextFile(), "");
}

TEST_F(DirectoryTree, AFolderIsCreatedWithAllItsParents) {
    EXPECT_TRUE(Directory::createDirectoryRecursively(path("a/b//c/")));
    EXPECT_TRUE(fs::is_directory(path("a/b/c")));
    EXPECT_TRUE(Directory::createDirectory(path("a"))) << "an existing folder is a success";
    EXPECT_FALSE(Directory::createDirectoryRecursively(path("outside/precious/a/b")));
    log.expect(3, "failed to create directory '" + path("outside/precious") + "'");
}

TEST_F(DirectoryTree, DeletionNeverStartsAtOrGoesThroughALink) {
    EXPECT_FALSE(Directory::deleteDirectoryRecursively(tree + "/out/"));
    EXPECT_FALSE(Directory::deleteDirectoryRecursively(tree + "/sub/file"));
    EXPECT_FALSE(Directory::deleteDirectory(tree)) << "not empty";
    EXPECT_TRUE(folder.has("tree/out"));
    EXPECT_TRUE(folder.has("tree/sub/file"));
}

TEST_F(DirectoryTree, ContentsAreDeletedWithOrWithoutTheFolder) {
    EXPECT_TRUE(Directory::deleteDirectoryContentsRecursively(tree));
    EXPECT_TRUE(Directory::isDirectoryEmpty(tree));
    EXPECT_TRUE(Directory::deleteDirectoryRecursively(tree + "/"));
    EXPECT_FALSE(folder.has("tree"));
    EXPECT_TRUE(Directory::deleteDirectoryRecursively(tree)) << "missing";
}

TEST_F(DirectoryTree, AFailedDeletionDoesNotStopTheRest) {
    const FailingFiles files(platform::Operation::Remove, std::errc::device_or_resource_busy,
                             FailingFiles::Duration::Once);
    EXPECT_FALSE(Directory::deleteDirectoryRecursively(tree));
    EXPECT_EQ(log.take().size(), 1u) << "the folders above are not empty as a consequence";
    EXPECT_NE(folder.has("tree/out"), folder.has("tree/sub"));
}

// Deeper than the longest path, and deeper than the stack or the number of open files would allow.
TEST_F(DirectoryTree, DepthHasNoLimit) {
    const fs::path before = fs::current_path();
    fs::current_path(folder.makeFolder("deep"));
    for (int i = 0; i < 4096; i++) {
        fs::create_directory("d");
        fs::current_path("d");
    }
    std::ofstream("bottom") << "content";
    fs::current_path(before);
    EXPECT_EQ(Directory::getSize(path("deep")), 7u);
    EXPECT_TRUE(Directory::copyDirectoryContentsRecursively(path("deep"), path("copy")));
    EXPECT_EQ(Directory::getDirectoryHash(path("copy")), Directory::getDirectoryHash(path("deep")));
    EXPECT_TRUE(Directory::takeOwnership(path("copy")));
    for (const char* name : {"deep", "copy"}) Directory::deleteDirectoryRecursively(path(name));
    EXPECT_EQ(folder.countEntries(), 2);
}

TEST_F(DirectoryTree, ACopyKeepsLinksAsLinksAndReplacesFiles) {
    folder.write("copy/sub/file", "something longer");
    EXPECT_TRUE(Directory::copyDirectoryContentsRecursively(tree, path("copy")));
    EXPECT_EQ(fs::read_symlink(path("copy/out")), "../outside");
    EXPECT_EQ(Directory::getDirectoryHash(path("copy")), Directory::getDirectoryHash(tree));
    folder.write("from/out/precious", "overwritten");
    EXPECT_FALSE(Directory::copyDirectoryContentsRecursively(path("from"), tree)) << "through a link";
    EXPECT_EQ(log.take().size(), 1u);
    EXPECT_TRUE(Directory::copyDirectoryContentsRecursively(tree, tree));
}

TEST_F(DirectoryTree, ACopyIntoItselfLeavesItselfOut) {
    for (const std::string self : {"self", "sub/in"}) {
        const std::string target = "tree/" + self;
        for (int round = 0; round < 2; ++round) {
            EXPECT_TRUE(Directory::copyDirectoryContentsRecursively(tree, path(target))) << target;
            EXPECT_TRUE(folder.has(target + "/sub/file")) << target;
            EXPECT_FALSE(folder.has(target + "/" + self)) << target;
        }
        Directory::deleteDirectoryRecursively(path(target));
    }
}

TEST_F(DirectoryTree, TheHashCoversNamesKindsAndContents) {
    folder.write("plugin/main.sq", "print(1)\n");
    folder.write("plugin/resources/a.txt", "A");
    File::createSymLink(path("plugin/out"), "../nowhere", false);
    const std::string stream = "fmain.sq\0print(1)\n\x09\0\0\0\0\0\0\0"
                               "lout\0../nowhere\0"
                               "dresources\0fa.txt\0A\x01\0\0\0\0\0\0\0u\0"s;
    const uint32 hash = File::getFileHash(folder.write("stream", stream), 0, stream.size());
    EXPECT_EQ(Directory::getDirectoryHash(path("plugin/")), ~hash);
}

TEST_F(DirectoryTree, FindsAndMeasuresFilesWithoutFollowingLinks) {
    String found;
    EXPECT_FALSE(Directory::findFile(tree, "precious", found)) << "through a link";
    EXPECT_FALSE(Directory::findFile(tree, "sub", found)) << "a folder";
    EXPECT_TRUE(Directory::findFile(tree + "/", "file", found));
    EXPECT_EQ(found, path("tree/sub/file"));
    uint64 size = 0;
    EXPECT_TRUE(Directory::getSize(tree, size));
    EXPECT_EQ(size, 5u);
}

TEST_F(DirectoryTree, OldMeansNeitherCreatedNorModifiedLater) {
    const platform::FileTime longAgo{1'000'000'000, 0};
    ASSERT_FALSE(platform::setModified(folder.write("old/a/b/file", "").c_str(), &longAgo));
    File::FileInfo info;
    ASSERT_TRUE(File::getFileInfo(path("old/a/b/file"), info));
    EXPECT_EQ(Directory::deleteDirectoryContentsOlderThan(path("old"), info.modificationTime), 0)
        << "created just now, whatever the time of modification";
    EXPECT_EQ(Directory::deleteDirectoryContentsOlderThan(path("old"), info.creationTime + 10'000'000'000),
              1);
    EXPECT_TRUE(folder.has("old/a/b"));
}

TEST_F(DirectoryTree, OnlyEmptyFoldersAreDeleted) {
    folder.makeFolder("empty/a/b");
    EXPECT_TRUE(Directory::deleteEmptyDirectoriesInPathRecursively(folder.path()));
    EXPECT_FALSE(folder.has("empty"));
    EXPECT_TRUE(folder.has("tree/sub/file"));
}

TEST_F(DirectoryTree, OwnershipAndDeletionNeverGoThroughLinks) {
    const auto permissions = [&](const char* name) { return fs::status(path(name)).permissions(); };
    const auto forbid = [&] {
        for (const char* name : {"tree/sub/file", "tree/sub", "tree"})
            fs::permissions(path(name), fs::perms::none);
    };
    fs::permissions(path("outside/precious"), fs::perms::owner_read);
    forbid();
    EXPECT_TRUE(Directory::takeOwnership(tree));
    EXPECT_EQ(permissions("tree/sub"), fs::perms::owner_all);
    EXPECT_EQ(permissions("tree/sub/file"), fs::perms::owner_read | fs::perms::owner_write);
    forbid();
    EXPECT_TRUE(Directory::deleteDirectoryRecursively(tree));
    EXPECT_FALSE(folder.has("tree"));
    EXPECT_EQ(permissions("outside/precious"), fs::perms::owner_read);
}

} // namespace
} // namespace qel
