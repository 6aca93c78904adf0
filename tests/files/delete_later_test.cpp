#include <qel/files/delete_later.h>

#include <qel/files/directory.h>
#include <qel/store/core/memory_store.h>
#include <tests/files/file_fixture.h>
#include <tests/support/formats_page.h>
#include <tests/support/store_dump.h>

#include <gmock/gmock.h>

#include <thread>

namespace qel {
namespace {

namespace fs = std::filesystem;

class DeleteLaterTest : public test::SystemFileFixture {
protected:
    DeleteLaterTest() { makeList(); }

    void makeList() {
        list = new DeleteLater;
        list->setDBPath(root());
        Object::setSingleton("deleteLater", list.get());
    }
    Item root() { return Item(store.get()).add("deletes"); }
    /// Every entry as "key = value".
    std::string entries() {
        std::string text;
        Item entry;
        for (bool more = root().child(entry); more; more = entry.next())
            text += entry.trail().asString() + " = " + entry.fetch()->asString();
        return text;
    }
    SmartPointer<MemoryStore> store = new MemoryStore;
    SmartPointer<DeleteLater> list;
};

TEST_F(DeleteLaterTest, AnEntryKeepsItsFirstOriginInTheFormThatIsStored) {
    list->addPath("/t/x", "[a]");
    log.expect(1, "new path added to deleteLater list, path=/t/x");
    list->addPath("/t/x", "[other]");
    EXPECT_THAT(test::contentOf(*store), testing::EndsWith(test::documentedEntries("delete-later")));
    list->setDBPath(Item("no store"));
    list->addPath("/t/x", "[a]");
    list->maintainDeletes();
    EXPECT_TRUE(log.take().empty());
}

TEST_F(DeleteLaterTest, WhatCannotBeDeletedIsTriedAgainAlsoAfterARestart) {
    const std::string file = folder.write("file", "");
    {
        test::FailingFiles files(0, std::errc::device_or_resource_busy, test::FailingFiles::Duration::ForGood,
                                 platform::FileOperation::Remove);
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
            Map<String, int> report{{"old", 1}};
            list->getReport(report);
            EXPECT_EQ(report, tries >= 3 ? (Map<String, int>{{"[test]", 1}}) : (Map<String, int>{}));
            EXPECT_EQ(list->getProblematicCount(), tries >= 3);
        }
    }
    list->maintainDeletes();
    EXPECT_TRUE(!folder.has("file") && entries().empty() && hiddenPaths().empty());
    log.take();
}

TEST_F(DeleteLaterTest, FilesFoldersAndLinksGoAndWhatLinksStandForStays) {
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
    EXPECT_TRUE(folder.has("kept/file") && folder.countEntries() == 1 && entries().empty() &&
                hiddenPaths().empty());
    log.take();
}

TEST_F(DeleteLaterTest, BrokenEntriesAreDroppedAndNothingIsDeletedForThem) {
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
