#include <qel/files/file.h>

#include <qel/files/deferred_deletion.h>
#include <qel/files/directory.h>
#include <qel/system/tasks/task_queue.h>
#include <tests/files/failing_files.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace qel {
namespace {

using platform::FileOperation;
using test::FailingFiles;
using test::LogCapture;
using test::ScratchFolder;

class RecordedDeletions : public DeferredDeletion {
public:
    void addPath(const char* path, const char* origin) override { paths.emplace_back(path, origin); }

    std::vector<std::pair<std::string, std::string>> paths;
};

class FileDelete : public test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        m_recorded = new RecordedDeletions;
        Object::setSingleton("deleteLater", m_recorded);
    }
    void TearDown() override {
        Object::setSingleton("deleteLater", nullptr);
        SystemFixture::TearDown();
    }

    std::set<std::string> hiddenPaths() {
        const MutexLock lock(system().getFilesystemBlacklistMutex());
        const auto& paths = system().getFilesystemBlacklist();
        return {paths.begin(), paths.end()};
    }
    void finishDeletions() {
        system().getGlobalDeleteIOQueue()->wait();
        passAfter(1);
    }
    const auto& deferred() const { return m_recorded->paths; }

    ScratchFolder folder;

private:
    RecordedDeletions* m_recorded = nullptr;
};

using Deferred = std::vector<std::pair<std::string, std::string>>;

TEST_F(FileDelete, AMissingFileIsAsGoodAsDeleted) {
    EXPECT_TRUE(File::deleteFile(folder.path("missing")));
    EXPECT_TRUE(File::deleteFileNowOrLater("[test]", folder.path("missing")));
}

TEST_F(FileDelete, AFolderIsRefusedWithItsAttributes) {
    std::filesystem::permissions(folder.makeFolder("dir"), std::filesystem::perms(0755));
    LogCapture log;
    EXPECT_FALSE(File::deleteFile(folder.path("dir"), true));
    EXPECT_TRUE(log.take().empty());
    EXPECT_FALSE(File::deleteFile(folder.path("dir")));
    log.expect(2, "file '" + folder.path("dir") + "(attrib:0755) could not be deleted; Is a directory");
}

TEST_F(FileDelete, AReadOnlyFileIsDeletedOnTheSecondTry) {
    std::filesystem::permissions(folder.write("dir/file", ""), std::filesystem::perms(0444));
    std::filesystem::permissions(folder.path("dir"), std::filesystem::perms(0555));
    FailingFiles files(0, std::errc::permission_denied, FailingFiles::Duration::Once, FileOperation::Remove);
    EXPECT_TRUE(File::deleteFile(folder.path("dir/file")));
    EXPECT_TRUE(files.hasFailed());
    EXPECT_EQ(std::filesystem::status(folder.path("dir")).permissions(), std::filesystem::perms(0555));
    std::filesystem::permissions(folder.path("dir"), std::filesystem::perms(0755));
}

TEST_F(FileDelete, WhatCannotGoNowIsHiddenAndHandedOn) {
    folder.makeFolder("dir");
    EXPECT_FALSE(File::deleteFileNowOrLater("[test]", folder.path("dir"), true));
    EXPECT_EQ(deferred(), (Deferred{{folder.path("dir"), "[test]"}}));
    EXPECT_EQ(hiddenPaths(), std::set<std::string>{folder.path("dir")});
}

TEST_F(FileDelete, WithoutADeferredDeletionNothingIsHidden) {
    Object::setSingleton("deleteLater", nullptr);
    folder.makeFolder("dir");
    EXPECT_FALSE(File::deleteFileNowOrLater("[test]", folder.path("dir"), true));
    EXPECT_TRUE(hiddenPaths().empty());
}

TEST_F(FileDelete, AnAsynchronousDeletionHidesThePathUntilItIsGone) {
    folder.write("file", "");
    system().getGlobalDeleteIOQueue()->pause();
    File::deleteFileAsyncOrLater("[test]", folder.path("file"));
    File::deleteFileAsyncOrLater("[test]", folder.path("missing"));
    EXPECT_EQ(hiddenPaths(), std::set<std::string>{folder.path("file")});
    EXPECT_TRUE(folder.has("file"));
    system().getGlobalDeleteIOQueue()->resume();
    finishDeletions();
    EXPECT_TRUE(hiddenPaths().empty());
    EXPECT_FALSE(folder.has("file"));
    EXPECT_TRUE(deferred().empty());
}

TEST_F(FileDelete, AFailedAsynchronousDeletionIsHandedOnByTheMainThread) {
    folder.makeFolder("dir");
    File::deleteFileAsyncOrLater("[test]", folder.path("dir"), true);
    system().getGlobalDeleteIOQueue()->wait();
    EXPECT_TRUE(deferred().empty());
    passAfter(1);
    EXPECT_EQ(deferred(), (Deferred{{folder.path("dir"), "[test]"}}));
    EXPECT_EQ(hiddenPaths(), std::set<std::string>{folder.path("dir")});
}

TEST_F(FileDelete, ABackslashInANameIsNoSeparator) {
    folder.write("a\\b", "");
    folder.write("a/b", "");
    File::deleteFileAsyncOrLater("[test]", folder.path("a\\b"));
    finishDeletions();
    EXPECT_FALSE(folder.has("a\\b"));
    EXPECT_TRUE(folder.has("a/b"));
    File::deleteFileAsyncOrLater("[test]", folder.path("a\\b"));
    finishDeletions();
    EXPECT_FALSE(folder.has("a/b")) << "no such name as it stands: then the backslash separates";
}

TEST_F(FileDelete, ATreeIsDeletedAsynchronouslyToo) {
    folder.write("dir/sub/file", "");
    Directory::deleteDirectoryRecursivelyAsyncOrLater("[test]", folder.path("dir"));
    finishDeletions();
    EXPECT_EQ(folder.countEntries(), 0);
    folder.write("file", "");
    EXPECT_FALSE(Directory::deleteDirectoryRecursivelyNowOrLater("[test]", folder.path("file"), true));
    EXPECT_EQ(deferred(), (Deferred{{folder.path("file"), "[test]"}}));
}

// --- caches -------------------------------------------------------------------------------------------

TEST_F(FileDelete, CleaningACacheTakesItsOwnEntriesAlone) {
    for (const char* name :
         {"cache_a_1.tmp", "other_a_1.qel", "cache_a_1.qel", "cache_a_2.qel", "cache_ab_1.qel"})
        folder.write(name, "");
    folder.write("cache_a_dir.qel/file", "");
    folder.write("outside/file", "");
    ASSERT_TRUE(File::createSymLink(folder.path("cache_a_link.qel"), "outside", true));
    EXPECT_EQ(Directory::cleanCacheDirectory(folder.path(), "a", {folder.path("cache_a_2.qel")}), 3);
    finishDeletions();
    EXPECT_FALSE(folder.has("cache_a_1.qel") || folder.has("cache_a_dir.qel") ||
                 folder.has("cache_a_link.qel"));
    EXPECT_TRUE(folder.has("cache_a_1.tmp") && folder.has("other_a_1.qel") && folder.has("cache_a_2.qel") &&
                folder.has("cache_ab_1.qel") && folder.has("outside/file"));
    EXPECT_EQ(Directory::cleanCacheDirectory(folder.path("missing"), "a", {}), 0);
}

TEST_F(FileDelete, NewCacheFilesHaveNamesOfTheirOwnAndAreNotMade) {
    const String first = Directory::getNewCacheFile(folder.path(), "image");
    const String second = Directory::getNewCacheFile(folder.path() + "/", "image");
    EXPECT_NE(first, second);
    for (const String& path : {first, second}) {
        EXPECT_TRUE(path.starts_with(folder.path("cache_image_")) && path.ends_with(".qel")) << path;
        EXPECT_EQ(path.size(), folder.path("cache_image_01234567.qel").size());
    }
    EXPECT_EQ(folder.countEntries(), 0);
}

TEST_F(FileDelete, TemporaryFoldersAreNewAndNumbered) {
    const String first = Directory::createTemporaryDirectory(folder.path());
    const String second = Directory::createTemporaryDirectory(folder.path());
    EXPECT_NE(first, second);
    EXPECT_EQ(File::getFilenameFromPath(first).find_first_not_of("0123456789"), String::npos);
    EXPECT_EQ(folder.countEntries(), 2);
    LogCapture log;
    EXPECT_EQ(Directory::createTemporaryDirectory(folder.path("missing")), "");
    const auto lines = log.take();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(lines[0].text.starts_with("failed to create directory '" + folder.path("missing/")));
}

TEST_F(FileDelete, PreparedFilesAreCleanedByPathAndDeletedByName) {
    for (const char* name : {"keep_1", "keep_2/file", "go_1", "go_2/file", "x"}) folder.write(name, "");
    EXPECT_EQ(Directory::deletePrepareFilesWithPrefix(folder.path(), "go_"), 2);
    EXPECT_EQ(Directory::cleanPrepareDirectory(folder.path(), {folder.path("keep_")}), 1);
    EXPECT_TRUE(folder.has("keep_1") && folder.has("keep_2/file"));
    EXPECT_EQ(folder.countEntries(), 2);
    EXPECT_TRUE(Directory::deleteDirectoryContentsRecursivelyNowOrLater("[test]", folder.path()));
    EXPECT_EQ(folder.countEntries(), 0);
}

TEST_F(FileDelete, DiskSpaceIsMeasuredInASection) {
    uint64 free = 0, total = 0;
    EXPECT_TRUE(Directory::getFreeDiskSpace(folder.path(), free, total));
    EXPECT_GT(total, 0u);
    EXPECT_LE(free, total);
    EXPECT_FALSE(Directory::getFreeDiskSpace(folder.path("missing"), free));
}

} // namespace
} // namespace qel
