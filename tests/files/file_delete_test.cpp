#include <qel/files/file.h>

#include <qel/files/deferred_deletion.h>
#include <qel/files/directory.h>
#include <qel/system/tasks/task_queue.h>
#include <tests/files/file_fixture.h>

namespace qel {
namespace {

namespace fs = std::filesystem;
using Deferred = std::vector<std::pair<std::string, std::string>>;

class RecordedDeletions : public DeferredDeletion {
public:
    void addPath(const char* path, const char* origin) override { paths.emplace_back(path, origin); }

    Deferred paths;
};

class FileDelete : public test::SystemFileFixture {
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

    void finishDeletions() {
        system().getGlobalDeleteIOQueue()->wait();
        passAfter(1);
    }
    const Deferred& deferred() const { return m_recorded->paths; }

private:
    RecordedDeletions* m_recorded = nullptr;
};

TEST_F(FileDelete, AFolderIsRefusedWithItsAttributesAndAMissingFileIsAsGoodAsDeleted) {
    fs::permissions(folder.makeFolder("dir"), fs::perms(0755));
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

TEST_F(FileDelete, NothingIsHiddenThatNobodyTakes) {
    Object::setSingleton("deleteLater", nullptr);
    EXPECT_FALSE(File::deleteFileNowOrLater("[test]", folder.makeFolder("dir"), true));
    EXPECT_TRUE(hiddenPaths().empty());
}

TEST_F(FileDelete, AnAsynchronousDeletionHidesThePathUntilItIsGoneOrTheMainThreadHandsItOn) {
    folder.write("file", "");
    folder.makeFolder("dir");
    system().getGlobalDeleteIOQueue()->pause();
    for (const char* name : {"file", "missing", "dir"})
        File::deleteFileAsyncOrLater("[test]", path(name), true);
    EXPECT_EQ(hiddenPaths(), (std::set<std::string>{path("dir"), path("file")}));
    EXPECT_TRUE(folder.has("file"));
    system().getGlobalDeleteIOQueue()->resume();
    system().getGlobalDeleteIOQueue()->wait();
    EXPECT_TRUE(deferred().empty());
    passAfter(1);
    EXPECT_FALSE(folder.has("file"));
    EXPECT_EQ(deferred(), (Deferred{{path("dir"), "[test]"}}));
    EXPECT_EQ(hiddenPaths(), std::set<std::string>{path("dir")});
}

TEST_F(FileDelete, ABackslashInANameSeparatesOnlyIfThereIsNoSuchName) {
    folder.write("a\\b", "");
    folder.write("a/b", "");
    for (const bool hasFolderFile : {true, false}) {
        File::deleteFileAsyncOrLater("[test]", path("a\\b"));
        finishDeletions();
        EXPECT_FALSE(folder.has("a\\b"));
        EXPECT_EQ(folder.has("a/b"), hasFolderFile);
    }
}

TEST_F(FileDelete, ATreeIsDeletedAsynchronouslyToo) {
    folder.write("dir/sub/file", "");
    Directory::deleteDirectoryRecursivelyAsyncOrLater("[test]", path("dir"));
    finishDeletions();
    EXPECT_EQ(folder.countEntries(), 0);
    EXPECT_FALSE(Directory::deleteDirectoryRecursivelyNowOrLater("[test]", folder.write("file", ""), true));
    EXPECT_EQ(deferred(), (Deferred{{path("file"), "[test]"}}));
    EXPECT_EQ(hiddenPaths(), std::set<std::string>{path("file")});
}

TEST_F(FileDelete, CleaningACacheTakesItsOwnEntriesAlone) {
    const auto kept = {"cache_a_1.tmp", "other_a_1.qel", "cache_a_2.qel", "cache_ab_1.qel", "outside/file"};
    ASSERT_TRUE(File::createSymLink(path("cache_a_link.qel"), "outside", true));
    for (const char* name : kept) folder.write(name, "");
    for (const char* name : {"cache_a_1.qel", "cache_a_dir.qel/file"}) folder.write(name, "");
    EXPECT_EQ(Directory::cleanCacheDirectory(folder.path(), "a", {path("cache_a_2.qel")}), 3);
    finishDeletions();
    for (const char* name : kept) EXPECT_TRUE(folder.has(name)) << name;
    EXPECT_EQ(folder.countEntries(), 5);
    EXPECT_EQ(Directory::cleanCacheDirectory(path("missing"), "a", {}), 0);
}

TEST_F(FileDelete, NewCacheFilesAndTemporaryFoldersHaveNamesOfTheirOwn) {
    const String file = Directory::getNewCacheFile(folder.path() + "/", "image");
    EXPECT_NE(file, Directory::getNewCacheFile(folder.path(), "image"));
    EXPECT_TRUE(file.starts_with(path("cache_image_")) && file.ends_with(".qel")) << file;
    EXPECT_NE(Directory::createTemporaryDirectory(folder.path()),
              Directory::createTemporaryDirectory(folder.path()));
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
