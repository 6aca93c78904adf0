#include <qel/files/file.h>

#include <qel/files/deferred_deletion.h>
#include <qel/files/directory.h>
#include <qel/system/tasks/task_queue.h>
#include <tests/files/file_fixture.h>

namespace qel {
namespace {

namespace fs = std::filesystem;
using Deferred = std::vector<std::pair<std::string, std::string>>;

struct RecordedDeletions : DeferredDeletion {
    void addPath(const char* path, const char* origin) override { paths.emplace_back(path, origin); }

    Deferred paths;
};

class FileDelete : public test::SystemFileFixture {
protected:
    FileDelete() { Object::setSingleton("deleteLater", later); }

    void waitForDeletions() { system().getGlobalDeleteIOQueue()->wait(); }

    RecordedDeletions* const later = new RecordedDeletions;
};

TEST_F(FileDelete, AFolderIsRefusedWithItsAttributesAndAMissingFileIsAsGoodAsDeleted) {
    fs::permissions(folder.makeFolder("dir"), fs::perms(0755));
    EXPECT_TRUE(File::deleteFile(path("missing")));
    EXPECT_FALSE(File::deleteFile(path("dir"), true) || !log.take().empty() || File::deleteFile(path("dir")));
    log.expect(2, "file '" + path("dir") + "(attrib:0755) could not be deleted; Is a directory");
}

TEST_F(FileDelete, AReadOnlyFileIsDeletedOnTheSecondTry) {
    fs::permissions(folder.write("dir/file", ""), fs::perms(0444));
    fs::permissions(path("dir"), fs::perms(0555));
    test::FailingFiles files(0, std::errc::permission_denied, test::FailingFiles::Duration::Once,
                             platform::FileOperation::Remove);
    EXPECT_TRUE(File::deleteFile(path("dir/file")) && files.hasFailed());
    EXPECT_EQ(fs::status(path("dir")).permissions(), fs::perms(0555));
    fs::permissions(path("dir"), fs::perms(0755));
}

TEST_F(FileDelete, AnAsynchronousDeletionHidesThePathUntilItIsGoneOrTheMainThreadHandsItOn) {
    for (const char* name : {"file", "tree/sub/file", "dir/file"}) folder.write(name, "");
    system().getGlobalDeleteIOQueue()->pause();
    for (const char* name : {"file", "missing", "dir"})
        File::deleteFileAsyncOrLater("[test]", path(name), true);
    Directory::deleteDirectoryRecursivelyAsyncOrLater("[test]", path("tree"));
    EXPECT_EQ(hiddenPaths(), (std::set<std::string>{path("dir"), path("file"), path("tree")}));
    EXPECT_EQ(folder.countEntries(), 3);
    system().getGlobalDeleteIOQueue()->resume();
    waitForDeletions();
    EXPECT_TRUE(later->paths.empty());
    passAfter(1);
    EXPECT_EQ(folder.countEntries(), 1);
    EXPECT_EQ(later->paths, (Deferred{{path("dir"), "[test]"}}));
    EXPECT_EQ(hiddenPaths(), std::set<std::string>{path("dir")});
}

TEST_F(FileDelete, WhatIsNotDeletedNowIsHandedOnAndHiddenIfThereIsWhoTakesIt) {
    EXPECT_FALSE(Directory::deleteDirectoryRecursivelyNowOrLater("[test]", folder.write("file", ""), true));
    Object::setSingleton("deleteLater", nullptr);
    EXPECT_FALSE(File::deleteFileNowOrLater("[test]", folder.makeFolder("dir"), true));
    EXPECT_EQ(hiddenPaths(), std::set<std::string>{path("file")});
}

TEST_F(FileDelete, ABackslashInANameSeparatesOnlyIfThereIsNoSuchName) {
    folder.write("a\\b", "");
    folder.write("a/b", "");
    for (const bool hasFolderFile : {true, false}) {
        File::deleteFileAsyncOrLater("[test]", path("a\\b"));
        waitForDeletions();
        EXPECT_FALSE(folder.has("a\\b"));
        EXPECT_EQ(folder.has("a/b"), hasFolderFile);
    }
}

TEST_F(FileDelete, CleaningACacheTakesItsOwnEntriesAlone) {
    const auto kept = {"cache_a_1.tmp", "other_a_1.qel", "cache_a_2.qel", "cache_ab_1.qel", "outside/file"};
    ASSERT_TRUE(File::createSymLink(path("cache_a_link.qel"), "outside", true));
    for (const char* name : kept) folder.write(name, "");
    for (const char* name : {"cache_a_1.qel", "cache_a_dir.qel/file"}) folder.write(name, "");
    EXPECT_EQ(Directory::cleanCacheDirectory(folder.path(), "a", {path("cache_a_2.qel")}), 3);
    waitForDeletions();
    for (const char* name : kept) EXPECT_TRUE(folder.has(name)) << name;
    EXPECT_EQ(folder.countEntries(), 5);
}

TEST_F(FileDelete, NewCacheFilesAndTemporaryFoldersHaveNamesOfTheirOwn) {
    const String file = Directory::getNewCacheFile(folder.path() + "/", "image");
    EXPECT_NE(file, Directory::getNewCacheFile(folder.path(), "image"));
    EXPECT_TRUE(file.starts_with(path("cache_image_")) && file.ends_with(".qel")) << file;
    for (int i = 0; i < 2; ++i) Directory::createTemporaryDirectory(folder.path());
    EXPECT_EQ(folder.countEntries(), 2) << "the cache files are not made";
    EXPECT_EQ(Directory::createTemporaryDirectory(path("missing")), "");
    EXPECT_EQ(log.take().size(), 1u);
}

TEST_F(FileDelete, PreparedFilesAreCleanedByPathAndDeletedByName) {
    for (const char* name : {"keep_1", "keep_2/file", "go_1", "go_2/file", "x"}) folder.write(name, "");
    EXPECT_EQ(Directory::deletePrepareFilesWithPrefix(folder.path(), "go_"), 2);
    EXPECT_EQ(Directory::cleanPrepareDirectory(folder.path(), {path("keep_")}), 1);
    EXPECT_TRUE(folder.has("keep_1") && folder.has("keep_2/file") && folder.countEntries() == 2);
}

} // namespace
} // namespace qel
