#include <qel/files/file.h>

#include <qel/files/deferred_deletion.h>
#include <qel/files/directory.h>
#include <qel/system/tasks/task_queue.h>
#include <tests/files/file_fixture.h>
#include <tests/support/system_fixture.h>

#include <utility>
#include <vector>

namespace qel {
namespace {

namespace fs = std::filesystem;
using Deferred = std::vector<std::pair<std::string, std::string>>;

class RecordedDeletions : public DeferredDeletion {
public:
    void addPath(const char* path, const char* origin) override { paths.emplace_back(path, origin); }

    Deferred paths;
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

    std::string path(std::string_view name) const { return folder.path(name); }
    std::set<std::string> hiddenPaths() {
        const MutexLock lock(system().getFilesystemBlacklistMutex());
        const auto& paths = system().getFilesystemBlacklist();
        return {paths.begin(), paths.end()};
    }
    void finishDeletions() {
        system().getGlobalDeleteIOQueue()->wait();
        passAfter(1);
    }
    void deleteAsync(const char* name) {
        File::deleteFileAsyncOrLater("[test]", path(name));
        finishDeletions();
    }
    const Deferred& deferred() const { return m_recorded->paths; }

    test::ScratchFolder folder;

private:
    RecordedDeletions* m_recorded = nullptr;
};

TEST_F(FileDelete, AFolderIsRefusedWithItsAttributesAndAMissingFileIsAsGoodAsDeleted) {
    fs::permissions(folder.makeFolder("dir"), fs::perms(0755));
    test::LogCapture log;
    EXPECT_TRUE(File::deleteFile(path("missing")));
    EXPECT_FALSE(File::deleteFile(path("dir"), true));
    EXPECT_TRUE(log.take().empty());
    EXPECT_FALSE(File::deleteFile(path("dir")));
    log.expect(2, "file '" + path("dir") + "(attrib:0755) could not be deleted; Is a directory");
}

TEST_F(FileDelete, AReadOnlyFileIsDeletedOnTheSecondTry) {
    fs::permissions(folder.write("dir/file", ""), fs::perms(0444));
    fs::permissions(path("dir"), fs::perms(0555));
    test::FailingFiles files(0, std::errc::permission_denied, test::FailingFiles::Duration::Once,
                             platform::FileOperation::Remove);
    EXPECT_TRUE(File::deleteFile(path("dir/file")));
    EXPECT_TRUE(files.hasFailed());
    EXPECT_EQ(fs::status(path("dir")).permissions(), fs::perms(0555));
    fs::permissions(path("dir"), fs::perms(0755));
}

TEST_F(FileDelete, WhatCannotGoNowIsHiddenAndHandedOn) {
    folder.makeFolder("dir");
    EXPECT_FALSE(File::deleteFileNowOrLater("[test]", path("dir"), true));
    EXPECT_EQ(deferred(), (Deferred{{path("dir"), "[test]"}}));
    EXPECT_EQ(hiddenPaths(), std::set<std::string>{path("dir")});
    Object::setSingleton("deleteLater", nullptr);
    EXPECT_FALSE(File::deleteFileNowOrLater("[test]", folder.makeFolder("other"), true));
    EXPECT_EQ(hiddenPaths().size(), 1u) << "nothing is hidden that nobody takes";
}

TEST_F(FileDelete, AnAsynchronousDeletionHidesThePathUntilItIsGone) {
    folder.write("file", "");
    system().getGlobalDeleteIOQueue()->pause();
    File::deleteFileAsyncOrLater("[test]", path("file"));
    File::deleteFileAsyncOrLater("[test]", path("missing"));
    EXPECT_EQ(hiddenPaths(), std::set<std::string>{path("file")});
    EXPECT_TRUE(folder.has("file"));
    system().getGlobalDeleteIOQueue()->resume();
    finishDeletions();
    EXPECT_FALSE(folder.has("file"));
    EXPECT_TRUE(hiddenPaths().empty() && deferred().empty());
}

TEST_F(FileDelete, AFailedAsynchronousDeletionIsHandedOnByTheMainThread) {
    folder.makeFolder("dir");
    File::deleteFileAsyncOrLater("[test]", path("dir"), true);
    system().getGlobalDeleteIOQueue()->wait();
    EXPECT_TRUE(deferred().empty());
    passAfter(1);
    EXPECT_EQ(deferred(), (Deferred{{path("dir"), "[test]"}}));
    EXPECT_EQ(hiddenPaths(), std::set<std::string>{path("dir")});
}

TEST_F(FileDelete, ABackslashInANameIsNoSeparator) {
    folder.write("a\\b", "");
    folder.write("a/b", "");
    deleteAsync("a\\b");
    EXPECT_FALSE(folder.has("a\\b"));
    EXPECT_TRUE(folder.has("a/b"));
    deleteAsync("a\\b");
    EXPECT_FALSE(folder.has("a/b")) << "no such name as it stands: then the backslash separates";
}

TEST_F(FileDelete, ATreeIsDeletedAsynchronouslyToo) {
    folder.write("dir/sub/file", "");
    Directory::deleteDirectoryRecursivelyAsyncOrLater("[test]", path("dir"));
    finishDeletions();
    EXPECT_EQ(folder.countEntries(), 0);
    folder.write("file", "");
    EXPECT_FALSE(Directory::deleteDirectoryRecursivelyNowOrLater("[test]", path("file"), true));
    EXPECT_EQ(deferred(), (Deferred{{path("file"), "[test]"}}));
}

TEST_F(FileDelete, CleaningACacheTakesItsOwnEntriesAlone) {
    const auto gone = {"cache_a_1.qel", "cache_a_dir.qel/file", "cache_a_link.qel"};
    const auto kept = {"cache_a_1.tmp", "other_a_1.qel", "cache_a_2.qel", "cache_ab_1.qel", "outside/file"};
    ASSERT_TRUE(File::createSymLink(path("cache_a_link.qel"), "outside", true));
    for (const char* name : kept) folder.write(name, "");
    for (const char* name : {"cache_a_1.qel", "cache_a_dir.qel/file"}) folder.write(name, "");
    EXPECT_EQ(Directory::cleanCacheDirectory(folder.path(), "a", {path("cache_a_2.qel")}), 3);
    finishDeletions();
    for (const char* name : gone) EXPECT_FALSE(folder.has(name)) << name;
    for (const char* name : kept) EXPECT_TRUE(folder.has(name)) << name;
    EXPECT_EQ(Directory::cleanCacheDirectory(path("missing"), "a", {}), 0);
}

TEST_F(FileDelete, NewCacheFilesAndTemporaryFoldersHaveNamesOfTheirOwn) {
    const String file = Directory::getNewCacheFile(folder.path() + "/", "image");
    EXPECT_NE(file, Directory::getNewCacheFile(folder.path(), "image"));
    EXPECT_TRUE(file.starts_with(path("cache_image_")) && file.ends_with(".qel")) << file;
    EXPECT_EQ(folder.countEntries(), 0) << "the files are not made";
    const String temporary = Directory::createTemporaryDirectory(folder.path());
    EXPECT_NE(temporary, Directory::createTemporaryDirectory(folder.path()));
    EXPECT_EQ(folder.countEntries(), 2);
    test::LogCapture log;
    EXPECT_EQ(Directory::createTemporaryDirectory(path("missing")), "");
    EXPECT_EQ(log.take().size(), 1u);
}

TEST_F(FileDelete, PreparedFilesAreCleanedByPathAndDeletedByName) {
    for (const char* name : {"keep_1", "keep_2/file", "go_1", "go_2/file", "x"}) folder.write(name, "");
    EXPECT_EQ(Directory::deletePrepareFilesWithPrefix(folder.path(), "go_"), 2);
    EXPECT_EQ(Directory::cleanPrepareDirectory(folder.path(), {path("keep_")}), 1);
    EXPECT_TRUE(folder.has("keep_1") && folder.has("keep_2/file"));
    EXPECT_EQ(folder.countEntries(), 2);
}

} // namespace
} // namespace qel
