#include <qel/files/delete_later.h>

#include <qel/files/directory.h>
#include <qel/store/core/memory_store.h>
#include <qel/system/tasks/task_queue.h>
#include <tests/files/file_fixture.h>
#include <tests/support/formats_page.h>
#include <tests/support/store_dump.h>

#include <gmock/gmock.h>

#include <thread>

namespace qel {
namespace {

namespace fs = std::filesystem;

class Deletion : public test::SystemFileFixture {
protected:
    Deletion() { makeList(); }

    void makeList() {
        list = new DeleteLater;
        list->setDBPath(root());
        Object::setSingleton("deleteLater", list.get());
    }
    Item root() { return Item(store.get()).add("deletes"); }
    /// Returns every entry as "key = value".
    std::string entries() {
        std::string text;
        Item entry;
        for (bool more = root().child(entry); more; more = entry.next())
            text += entry.trail().asString() + " = " + entry.fetch()->asString();
        return text;
    }
    void waitForDeletions() { system().getGlobalDeleteIOQueue()->wait(); }

    SmartPointer<MemoryStore> store = new MemoryStore;
    SmartPointer<DeleteLater> list;
};

TEST_F(Deletion, AReadOnlyFileIsDeletedOnTheSecondAttempt) {
    fs::permissions(folder.write("dir/file", ""), fs::perms(0444));
    fs::permissions(path("dir"), fs::perms(0555));
    const test::FailingFiles files(platform::Operation::Remove, std::errc::permission_denied,
                                   test::FailingFiles::Duration::Once);
    EXPECT_TRUE(File::deleteFile(path("dir/file")));
    EXPECT_TRUE(files.hasFailed());
    EXPECT_FALSE(folder.has("dir/file"));
    EXPECT_EQ(fs::status(path("dir")).permissions(), fs::perms(0555));
    fs::permissions(path("dir"), fs::perms(0755));
}

TEST_F(Deletion, AnAsynchronousDeletionHidesThePathMeanwhile) {
    for (const char* name : {"file", "tree/sub/file", "dir/file"}) folder.write(name, "");
    system().getGlobalDeleteIOQueue()->pause();
    for (const char* name : {"file", "missing", "dir"})
        File::deleteFileAsyncOrLater("[test]", path(name), true);
    Directory::deleteDirectoryRecursivelyAsyncOrLater("[test]", path("tree"));
    EXPECT_EQ(hiddenPaths(), (std::set<std::string>{path("dir"), path("file"), path("tree")}));
    EXPECT_EQ(folder.countEntries(), 3);
    system().getGlobalDeleteIOQueue()->resume();
    waitForDeletions();
    EXPECT_TRUE(entries().empty());
    passAfter(1);
    EXPECT_EQ(folder.countEntries(), 1);
    EXPECT_EQ(entries(), "{<STR:" + path("dir") + ">} = {<STR:[test]><INT:0>}");
    EXPECT_EQ(hiddenPaths(), std::set<std::string>{path("dir")});
}

TEST_F(Deletion, AFailedDeletionIsDeferredAndHidden) {
    EXPECT_TRUE(File::deleteFileNowOrLater("[test]", folder.write("removable", "")));
    EXPECT_FALSE(Directory::deleteDirectoryRecursivelyNowOrLater("[test]", folder.write("file", ""), true));
    Object::setSingleton("deleteLater", nullptr);
    EXPECT_FALSE(File::deleteFileNowOrLater("[test]", folder.makeFolder("dir"), true));
    EXPECT_EQ(hiddenPaths(), std::set<std::string>{path("file")});
}

TEST_F(Deletion, ABackslashSeparatesUnlessSuchAFileExists) {
    folder.write("d\\f", "");
    folder.write("d/f", "");
    EXPECT_TRUE(File::deleteFileNowOrLater("[test]", path("d\\f")));
    EXPECT_FALSE(folder.has("d\\f"));
    EXPECT_TRUE(folder.has("d/f"));
    EXPECT_TRUE(File::deleteFileNowOrLater("[test]", path("d\\f")));
    EXPECT_FALSE(folder.has("d/f"));
}

TEST_F(Deletion, CleaningACacheDeletesOnlyItsOwnEntries) {
    const auto kept = {"cache_a_1.tmp", "other_a_1.qel", "cache_a_2.qel", "cache_ab_1.qel", "outside/file"};
    ASSERT_TRUE(File::createSymLink(path("cache_a_link.qel"), "outside", true));
    for (const char* name : kept) folder.write(name, "");
    for (const char* name : {"cache_a_1.qel", "cache_a_dir.qel/file"}) folder.write(name, "");
    EXPECT_EQ(Directory::cleanCacheDirectory(folder.path(), "a", {path("cache_a_2.qel")}), 3);
    waitForDeletions();
    for (const char* name : kept) EXPECT_TRUE(folder.has(name)) << name;
    EXPECT_EQ(folder.countEntries(), 5);
}

TEST_F(Deletion, PreparedFilesAreCleanedByPathAndDeletedByName) {
    for (const char* name : {"keep_1", "keep_2/file", "go_1", "go_2/file", "x"}) folder.write(name, "");
    EXPECT_EQ(Directory::deletePrepareFilesWithPrefix(folder.path(), "go_"), 2);
    EXPECT_EQ(Directory::cleanPrepareDirectory(folder.path(), {path("keep_")}), 1);
    EXPECT_TRUE(folder.has("keep_1"));
    EXPECT_TRUE(folder.has("keep_2/file"));
    EXPECT_EQ(folder.countEntries(), 2);
}

// --- the list of paths to be deleted later ----------------------------------------------------------------

TEST_F(Deletion, AnEntryKeepsItsFirstOrigin) {
    list->addPath("/t/x", "[a]");
    log.expect(1, "new path added to deleteLater list, path=/t/x");
    list->addPath("/t/x", "[other]");
    EXPECT_THAT(test::contentOf(*store), testing::EndsWith(test::documentedEntries("delete-later")));
}

TEST_F(Deletion, AFailedDeletionIsTriedAgainAlsoAfterARestart) {
    const std::string file = folder.write("file", "");
    {
        const test::FailingFiles files(platform::Operation::Remove, std::errc::device_or_resource_busy);
        const fs::path before = fs::current_path();
        fs::current_path(folder.path());
        std::thread([] { EXPECT_FALSE(File::deleteFileNowOrLater("[test]", "file", true)); }).join();
        fs::current_path(before);
        EXPECT_TRUE(entries().empty()) << "the list belongs to the main thread";
        passAfter(1);
        EXPECT_EQ(hiddenPaths(), std::set<std::string>{file});
        for (int tries = 0; tries < 5; ++tries) {
            if (tries == 2) makeList();
            log.take();
            list->maintainDeletes();
            log.expect(2, "trying to remove problematic path: , path=" + file +
                              ", origin=[test], tries=" + std::to_string(tries));
            EXPECT_EQ(entries(),
                      "{<STR:" + file + ">} = {<STR:[test]><INT:" + std::to_string(tries + 1) + ">}");
            EXPECT_EQ(list->getProblematicCount(), tries >= 3);
        }
    }
    list->maintainDeletes();
    EXPECT_FALSE(folder.has("file"));
    EXPECT_EQ(entries(), "");
    EXPECT_EQ(hiddenPaths(), std::set<std::string>{});
    log.take();
}

TEST_F(Deletion, TargetsOfDeletedLinksAreKept) {
    for (const char* name : {"tree/a/b", "kept/file", "file"}) folder.write(name, "");
    fs::create_directory_symlink(path("kept"), path("tree/a/out"));
    fs::create_directory_symlink(path("kept"), path("link"));
    fs::create_directory_symlink(path("loop"), path("loop"));
    fs::create_symlink(path("nothing"), path("dangling"));
    for (const char* name : {"tree", "file", "link/", "loop", "dangling", "missing"}) {
        system().addPathToFilesystemBlacklist(path(name));
        list->addPath(path(name).c_str(), "[test]");
    }
    list->maintainDeletes();
    log.expect(1, path("missing") + " does no longer exist on disk, removing from delete-later-list");
    EXPECT_TRUE(folder.has("kept/file"));
    EXPECT_EQ(folder.countEntries(), 1);
    EXPECT_EQ(entries(), "");
    EXPECT_EQ(hiddenPaths(), std::set<std::string>{});
    log.take();
}

TEST_F(Deletion, BrokenEntriesAreDroppedWithoutADeletion) {
    const std::string file = folder.write("file", "");
    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    const Item good = Item("[test]").add(0);
    const std::pair<Item, Item> broken[] = {
        {"file", good}, {"/tmp/..", good}, {Item(7), good}, {file, Item(1)}, {file, Item(0).add("[test]")}};
    for (const auto& [key, value] : broken) {
        Item entry = root();
        entry.concatItem(key);
        entry.store(value);
        list->maintainDeletes();
        const bool isPath = key == Item(file);
        log.expect(2, std::string("deleteLater database ") +
                          (isPath ? "inconsistent values: " : "inconsistency: ") + entry.asString());
        EXPECT_TRUE(entries().empty());
    }
    fs::current_path(before);
    EXPECT_TRUE(folder.has("file"));
}

} // namespace
} // namespace qel
