#include <qel/files/directory.h>

#include <tests/files/failing_files.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>

namespace qel {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using test::FailingFiles;
using test::LogCapture;
using test::ScratchFolder;

TEST(Directory, GivesEachEntryOnceInEachForm) {
    ScratchFolder folder;
    folder.write("file", "123");
    folder.makeFolder("dir");
    ASSERT_TRUE(File::createSymLink(folder.path("link"), "dir", true));
    Directory directory(folder.path());
    EXPECT_EQ(directory.getPathWithSlash(), folder.path() + "/");
    std::set<String> seen;
    for (File::FileInfo info; directory.read(info);) {
        EXPECT_EQ(info.isDirectory, info.name != "file");
        EXPECT_EQ(info.isSymLink, info.name == "link");
        if (info.name == "file") EXPECT_EQ(info.size, 3u);
        seen.insert(info.name);
    }
    EXPECT_EQ(seen, (std::set<String>{"file", "dir", "link"}));
    EXPECT_TRUE(directory.open(folder.path() + "/")) << "a second open starts anew";
    EXPECT_EQ(directory.readNextFile(), "file");
    EXPECT_EQ(directory.readNextFile(), "");
    directory.open(folder.path());
    EXPECT_NE(directory.readNextDirectory(), "");
    EXPECT_NE(directory.readNextDirectory(), "");
    EXPECT_EQ(directory.readNextDirectory(), "");
}

TEST(Directory, AFolderThatCannotBeOpenedIsEmpty) {
    ScratchFolder folder;
    Directory directory(folder.write("file", ""));
    String name = "unchanged";
    EXPECT_FALSE(directory.read(name));
    EXPECT_EQ(name, "unchanged");
    EXPECT_FALSE(directory.open(folder.path("missing")));
    EXPECT_FALSE(Directory().read(name));
    EXPECT_TRUE(Directory::isDirectoryEmpty(folder.path("missing")));
    EXPECT_FALSE(Directory::isDirectoryEmpty(folder.path()));
}

TEST(Directory, ReadsFoldersOfAnySize) {
    ScratchFolder folder;
    for (int i = 0; i < 3000; i++) std::ofstream(folder.path("a name of some length " + std::to_string(i)));
    Directory directory(folder.path());
    std::set<String> seen;
    for (String name; directory.read(name);) seen.insert(name);
    EXPECT_EQ(seen.size(), 3000u);
}

TEST(Directory, IsMadeWithAllAboveItOrToldWhy) {
    ScratchFolder folder;
    EXPECT_TRUE(Directory::createDirectoryRecursively(folder.path("a/b//c/")));
    EXPECT_TRUE(Directory::createDirectoryRecursively(folder.path("a/b/c")));
    EXPECT_TRUE(Directory::createDirectory(folder.path("a"))) << "one that exists is a success";
    EXPECT_TRUE(fs::is_directory(folder.path("a/b/c")));
    folder.write("file", "");
    LogCapture log;
    EXPECT_FALSE(Directory::createDirectory(folder.path("file")));
    log.expect(3, "failed to create directory '" + folder.path("file") + "'");
    EXPECT_FALSE(Directory::createDirectoryRecursively(folder.path("file/a/b")));
    log.expect(3, "failed to create directory '" + folder.path("file") + "'");
    EXPECT_TRUE(log.take().empty());
}

// --- trees --------------------------------------------------------------------------------------------

// A tree with a link out of it, a link to itself and a file; and what the link leads to.
struct LinkedTree {
    LinkedTree() {
        folder.write("outside/precious", "keep me");
        folder.write("tree/sub/file", "12345");
        File::createSymLink(folder.path("tree/out"), "../outside", true);
        File::createSymLink(folder.path("tree/sub/loop"), "..", true);
    }
    bool isOutsideWhole() const { return folder.read("outside/precious") == "keep me"; }

    ScratchFolder folder;
};

TEST(DirectoryTree, DeletionNeverGoesThroughALink) {
    LinkedTree linked;
    EXPECT_TRUE(Directory::deleteDirectoryRecursively(linked.folder.path("tree/")));
    EXPECT_FALSE(linked.folder.has("tree"));
    EXPECT_TRUE(linked.isOutsideWhole());
}

TEST(DirectoryTree, ALinkIsNoTreeToDelete) {
    LinkedTree linked;
    EXPECT_FALSE(Directory::deleteDirectoryRecursively(linked.folder.path("tree/out/")));
    EXPECT_FALSE(Directory::deleteDirectoryRecursively(linked.folder.path("tree/sub/file")));
    EXPECT_TRUE(Directory::deleteDirectoryRecursively(linked.folder.path("missing")));
    EXPECT_TRUE(linked.folder.has("tree/out") && linked.folder.has("tree/sub/file"));
    EXPECT_TRUE(linked.isOutsideWhole());
}

TEST(DirectoryTree, ContentsGoButTheFolderStays) {
    LinkedTree linked;
    EXPECT_TRUE(Directory::deleteDirectoryContentsRecursively(linked.folder.path("tree")));
    EXPECT_TRUE(linked.folder.has("tree"));
    EXPECT_TRUE(Directory::isDirectoryEmpty(linked.folder.path("tree")));
    EXPECT_TRUE(linked.isOutsideWhole());
    EXPECT_TRUE(Directory::deleteDirectory(linked.folder.path("tree")));
    EXPECT_FALSE(Directory::deleteDirectory(linked.folder.path("outside"))) << "not empty";
}

TEST(DirectoryTree, ProtectedFoldersAreUnlockedForTheirDeletion) {
    ScratchFolder folder;
    folder.write("tree/locked/file", "");
    fs::permissions(folder.path("tree/locked"), fs::perms::none);
    fs::permissions(folder.path("tree"), fs::perms::none);
    EXPECT_TRUE(Directory::deleteDirectoryRecursively(folder.path("tree")));
    EXPECT_EQ(folder.countEntries(), 0);
}

TEST(DirectoryTree, WhatCannotBeDeletedStaysAndTheRestGoes) {
    ScratchFolder folder;
    folder.write("tree/a/1", "");
    folder.write("tree/a/2", "");
    folder.write("tree/b/3", "");
    LogCapture log;
    FailingFiles files(0, std::errc::device_or_resource_busy, FailingFiles::Duration::Once,
                       platform::FileOperation::Remove);
    EXPECT_FALSE(Directory::deleteDirectoryRecursively(folder.path("tree")));
    const auto lines = log.take();
    ASSERT_EQ(lines.size(), 1u) << "the first failure alone is logged";
    EXPECT_TRUE(lines[0].text.starts_with("file '" + folder.path("tree/")));
    EXPECT_TRUE(lines[0].text.ends_with("could not be deleted; Device or resource busy"));
    EXPECT_EQ(std::distance(fs::recursive_directory_iterator(folder.path("tree")),
                            fs::recursive_directory_iterator()),
              2)
        << "one file and its folder are left";
}

// Deeper than any path may be long, and than the stack or the number of open files would allow.
TEST(DirectoryTree, DepthHasNoLimit) {
    constexpr int kDepth = 4096;
    ScratchFolder folder;
    platform::FileHandle at, next;
    folder.makeFolder("deep");
    ASSERT_FALSE(platform::openDirectory(at, folder.path("deep").c_str()));
    for (int i = 0; i < kDepth; i++) {
        ASSERT_FALSE(platform::makeDirectory("d", at));
        ASSERT_FALSE(platform::openDirectory(next, "d", platform::Links::Keep, at));
        at = std::move(next);
    }
    platform::FileHandle file;
    ASSERT_FALSE(
        platform::openFile(file, "bottom", platform::OpenMode::CreateNew, platform::Links::Keep, at));
    ASSERT_FALSE(file.setSize(7));
    at.close();
    file.close();

    EXPECT_EQ(Directory::getSize(folder.path("deep")), 7u);
    EXPECT_TRUE(Directory::copyDirectoryContentsRecursively(folder.path("deep"), folder.path("copy")));
    const uint32 hash = Directory::getDirectoryHash(folder.path("deep"));
    EXPECT_NE(hash, 0u);
    EXPECT_EQ(Directory::getDirectoryHash(folder.path("copy")), hash);
    EXPECT_TRUE(Directory::takeOwnership(folder.path("copy")));
    EXPECT_TRUE(Directory::deleteDirectoryRecursively(folder.path("deep")));
    EXPECT_TRUE(Directory::deleteDirectoryRecursively(folder.path("copy")));
    EXPECT_EQ(folder.countEntries(), 0);
}

TEST(DirectoryTree, ACopyKeepsLinksAsLinksAndReplacesFiles) {
    LinkedTree linked;
    const ScratchFolder& folder = linked.folder;
    folder.write("copy/sub/file", "something longer");
    EXPECT_TRUE(Directory::copyDirectoryContentsRecursively(folder.path("tree"), folder.path("copy")));
    EXPECT_EQ(folder.read("copy/sub/file"), "12345");
    EXPECT_EQ(fs::read_symlink(folder.path("copy/out")), "../outside");
    EXPECT_EQ(fs::read_symlink(folder.path("copy/sub/loop")), "..");
    EXPECT_EQ(Directory::getDirectoryHash(folder.path("copy")),
              Directory::getDirectoryHash(folder.path("tree")));
}

TEST(DirectoryTree, ACopyIntoItselfEnds) {
    LinkedTree linked;
    EXPECT_TRUE(Directory::copyDirectoryContentsRecursively(linked.folder.path("tree"),
                                                            linked.folder.path("tree/sub/in")));
    EXPECT_EQ(linked.folder.read("tree/sub/in/sub/file"), "12345");
    EXPECT_FALSE(linked.folder.has("tree/sub/in/sub/in"));
    EXPECT_TRUE(
        Directory::copyDirectoryContentsRecursively(linked.folder.path("tree"), linked.folder.path("tree")));
}

TEST(DirectoryTree, ACopyNeverGoesThroughALinkOfTheTarget) {
    LinkedTree linked;
    linked.folder.write("from/out/precious", "overwritten");
    LogCapture log;
    EXPECT_FALSE(
        Directory::copyDirectoryContentsRecursively(linked.folder.path("from"), linked.folder.path("tree")));
    EXPECT_EQ(log.take().size(), 1u);
    EXPECT_TRUE(linked.isOutsideWhole());
}

TEST(DirectoryTree, TheHashStandsForNamesKindsAndContents) {
    LinkedTree linked;
    const ScratchFolder& folder = linked.folder;
    const String tree = folder.path("tree");
    std::set<uint32> seen{0, Directory::getDirectoryHash(tree)};
    const auto changed = [&](const char* what) {
        EXPECT_TRUE(seen.insert(Directory::getDirectoryHash(tree)).second) << what;
    };
    EXPECT_EQ(Directory::getDirectoryHash(tree), Directory::getDirectoryHash(tree + "/"));
    folder.write("tree/sub/file", "12346");
    changed("another content");
    fs::rename(folder.path("tree/sub/file"), folder.path("tree/sub/file2"));
    changed("another name");
    fs::rename(folder.path("tree/sub/file2"), folder.path("tree/file2"));
    changed("another place");
    folder.makeFolder("tree/empty");
    changed("one more folder");
    fs::remove(folder.path("tree/out"));
    File::createSymLink(folder.path("tree/out"), "../elsewhere", true);
    changed("another target of a link");
    EXPECT_EQ(Directory::getDirectoryHash(folder.path("missing")), 0u);
}

TEST(DirectoryTree, AKnownHashStaysTheSame) {
    ScratchFolder folder;
    folder.write("plugin/main.sq", "print(1)\n");
    folder.write("plugin/resources/a.txt", "A");
    const std::string stream = "fmain.sq\0print(1)\n\x09\0\0\0\0\0\0\0"
                               "dresources\0fa.txt\0A\x01\0\0\0\0\0\0\0u\0"s;
    folder.write("stream", stream);
    EXPECT_EQ(Directory::getDirectoryHash(folder.path("plugin")),
              ~File::getFileHash(folder.path("stream"), 0, stream.size()));
}

TEST(DirectoryTree, FindsAFileByName) {
    LinkedTree linked;
    String found = "unchanged";
    EXPECT_FALSE(Directory::findFile(linked.folder.path("tree"), "precious", found)) << "behind a link";
    EXPECT_FALSE(Directory::findFile(linked.folder.path("tree"), "sub", found)) << "a folder";
    EXPECT_EQ(found, "unchanged");
    EXPECT_TRUE(Directory::findFile(linked.folder.path("tree/"), "file", found));
    EXPECT_EQ(found, linked.folder.path("tree/sub/file"));
    EXPECT_EQ(Directory::getSize(linked.folder.path("tree")), 5u);
}

TEST(DirectoryTree, OldMeansNeitherMadeNorModifiedLater) {
    ScratchFolder folder;
    const platform::FileTime longAgo{1'000'000'000, 0};
    for (const char* name : {"a/old", "b/old"})
        ASSERT_FALSE(platform::setModified(folder.write(name, "").c_str(), &longAgo));
    File::FileInfo info;
    ASSERT_TRUE(File::getFileInfo(folder.path("b/old"), info));
    EXPECT_EQ(Directory::deleteDirectoryContentsOlderThan(folder.path(), info.modificationTime), 0)
        << "made just now, whatever the time of modification";
    EXPECT_EQ(Directory::deleteDirectoryContentsOlderThan(folder.path(), info.creationTime + 10'000'000'000),
              2);
    EXPECT_TRUE(folder.has("a")) << "folders stay";
    EXPECT_TRUE(Directory::deleteEmptyDirectoriesInPathRecursively(folder.path()));
    EXPECT_EQ(folder.countEntries(), 0);
}

TEST(DirectoryTree, FoldersWithFilesAreNotEmpty) {
    LinkedTree linked;
    linked.folder.makeFolder("tree/a/b/c");
    EXPECT_TRUE(Directory::deleteEmptyDirectoriesInPathRecursively(linked.folder.path()));
    EXPECT_FALSE(linked.folder.has("tree/a"));
    EXPECT_TRUE(linked.folder.has("tree/sub/file"));
}

TEST(DirectoryTree, TakingOwnershipGivesFullAccessAndLeavesLinksAlone) {
    LinkedTree linked;
    fs::permissions(linked.folder.path("outside/precious"), fs::perms::owner_read);
    fs::permissions(linked.folder.path("tree/sub/file"), fs::perms::none);
    fs::permissions(linked.folder.path("tree/sub"), fs::perms::none);
    EXPECT_TRUE(Directory::takeOwnership(linked.folder.path("tree")));
    EXPECT_EQ(fs::status(linked.folder.path("tree/sub")).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(linked.folder.path("tree/sub/file")).permissions(),
              fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(fs::status(linked.folder.path("outside/precious")).permissions(), fs::perms::owner_read);
    EXPECT_FALSE(Directory::takeOwnership(linked.folder.path("missing")));
}

} // namespace
} // namespace qel
