#include <qel/store/core/item.h>
#include <qel/store/sqlite/sqlite_store.h>

#include <tests/store/sqlite/full_disk.h>
#include <tests/support/formats_page.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/store_dump.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

namespace qel {
namespace {

using namespace std::string_literals;
using test::contentOf;

/// Returns the content of the file at @p path, which must be sound.
std::string contentOf(const std::string& path) {
    SqliteStore store(path);
    EXPECT_TRUE(store.good());
    EXPECT_TRUE(store.verify());
    return contentOf(store);
}

struct SqliteStoreTest : ::testing::Test {
    void open() { store.emplace(path); }
    void expectOpenFails(const std::string& reason) {
        test::LogCapture log;
        SqliteStore refused(path);
        EXPECT_FALSE(refused.good()) << reason;
        log.expect(3, "[STORE] can't open store '" + path + "': " + reason);
        refused.begin();
        refused.set(Item("a"), Item(1));
        refused.remove(Item(), Item().addEnd());
        refused.commit();
        Item out(7);
        EXPECT_EQ(refused.get(Item("a")), nullptr);
        EXPECT_FALSE(refused.first(out));
        EXPECT_FALSE(refused.next(out, out));
        EXPECT_FALSE(refused.prev(out, out));
        EXPECT_EQ(refused.getSizeInBytes(), 0);
        EXPECT_FALSE(refused.verify());
        EXPECT_EQ(out, Item(7));
    }

    test::ScratchFolder scratch;
    std::string path = scratch.path("data.store");
    std::optional<SqliteStore> store;
};

TEST_F(SqliteStoreTest, KeepsEverythingExceptOpenTransactions) {
    open();
    store->set(Item("patient").add(5), Item()); // outside a transaction
    store->begin();
    store->set(Item("kept"), Item(2));
    store->begin();
    store->set(Item("patient").addInteger64(5), Item().addTrue());
    store->commit();
    store->commit();
    store->begin();
    store->remove(Item(), Item().addEnd());
    store.reset();
    EXPECT_FALSE(scratch.has("data.store-wal"));
    open();
    expectOpenFails("another process or object has it open");
    store->close();
    EXPECT_FALSE(store->good());
    EXPECT_EQ(contentOf(path), "036B65707400=0802 0370617469656E74000805=0E ");
    const std::string file = scratch.read("data.store");
    EXPECT_EQ(file.substr(0, 16), "SQLite format 3\0"s);
    EXPECT_EQ(file.substr(60, 4), "\0\0\0\2"s) << "the layout";
    EXPECT_EQ(file.substr(68, 4), "qelS") << "the application";
    EXPECT_NE(file.find(test::documentedText("sqlite/schema")), std::string::npos);
    EXPECT_NE(file.find(test::documentedText("sqlite/schema-large")), std::string::npos);
    EXPECT_NE(String(file).encodeBase16().find(test::documentedBytes("sqlite/row")), std::string::npos);
}

TEST_F(SqliteStoreTest, AcceptsAnyPathAsAFileName) {
    const std::string before = std::filesystem::current_path();
    std::filesystem::current_path(scratch.path());
    for (const char* name : {":memory:", "file:a?mode=memory", "\xFF%41 b"}) {
        SqliteStore(name).set(Item(name), Item(1));
        EXPECT_TRUE(scratch.has(name));
        EXPECT_NE(contentOf(name), "");
    }
    std::filesystem::current_path(before);
}

TEST_F(SqliteStoreTest, ResultsRemainValidDuringFurtherReads) {
    open();
    const std::string large(100'000, 'x');
    store->set(Item("large"), Item(large));
    store->set(Item("small"), Item(1));
    for (int round = 0; round < 3; ++round) {
        const Item* const first = store->get(Item("large"));
        for (int i = 1; i <= SqliteStore::kValuesKept - 1; ++i) store->get(Item("small"));
        store->set(Item("copy"), *first);
        EXPECT_EQ(*store->get(Item("copy")), Item(large));
    }
}

TEST_F(SqliteStoreTest, NeverChangesAFileThatIsNotItsOwn) {
    open();
    store->set(Item("a"), Item(1));
    store.reset();
    const std::string sound = scratch.read("data.store");
    const auto changed = [&](size_t at, const char* bytes) {
        return std::string(sound).replace(at, 4, bytes, 4);
    };
    const struct {
        std::string content, reason;
    } files[] = {{std::string(100, 'x'), "not a database"},
                 {sound.substr(0, 99), "not a database"},
                 {changed(68, "\0\0\0\0"), "a database of another program"},
                 {changed(60, "\0\0\0\3"), "layout 3 is unknown"},
                 {changed(60, "\0\0\0\1"), "damaged: it doesn't hold the tables of a store"},
                 {changed(18, "\7\2\0\0"), "damaged: version 7 of the file format"},
                 {changed(18, "\2\3\0\0"), "damaged: version 3 of the file format"},
                 {sound.substr(0, sound.size() / 2), "damaged: database disk image is malformed (11)"},
                 {std::string(sound).replace(sound.find("value BLOB"), 5, "VALUE"),
                  "damaged: it doesn't hold the tables of a store"}};
    for (const auto& [content, reason] : files) {
        scratch.write("data.store", content);
        expectOpenFails(reason);
        EXPECT_TRUE(scratch.read("data.store") == content) << reason;
    }
    for (const auto& [other, reason] : {std::pair(scratch.makeFolder("folder"), "not a file"),
                                        {"/dev/null", "not a file"},
                                        {scratch.path("missing/folder"), "unable to open database file (14)"},
                                        {"", "no path"}}) {
        path = other;
        expectOpenFails(reason);
    }
}

TEST_F(SqliteStoreTest, AFileWhoseCreationWasKilledIsCreatedAgain) {
    open();
    store.reset();
    scratch.write("data.store", scratch.read("data.store").replace(18, 2, "\1\1")); // as before the first log
    std::string journal = "\xD9\xD5\x05\xF9\x20\xA1\x63\xD7\0\0\0\0rand\0\0\0\0\0\0\2\0\0\0\x10\0"s;
    journal.resize(512); // states that there was no page
    scratch.write("data.store-journal", journal);
    open();
    store->set(Item("a"), Item(1));
    store.reset();
    EXPECT_EQ(contentOf(path), "036100=0801 ");
}

TEST_F(SqliteStoreTest, AFailingDiskNeverLosesCommittedData) {
    open();
    store->set(Item("old"), Item(1));
    store->flush();
    const std::string old = contentOf(*store);
    const std::string large(1'000'000, 'x');
    const std::string name = "store '" + path + "'";
    test::LogCapture log;
    std::optional<test::FullDisk> disk(std::in_place);
    store->begin();
    store->set(Item("old"), Item(large));
    store->commit();
    log.expect(3, "[STORE] can't commit to " + name + ": disk I/O error (778)");
    store->set(Item("gathered"), Item(large.substr(0, 200'000)));
    store->set(Item("gathered too"), Item(3));
    store->flush();
    log.expect(3, "[STORE] " + name + " lost 2 writes that were not flushed");
    log.expect(3, "[STORE] can't flush " + name + ": disk I/O error (778)");
    EXPECT_EQ(contentOf(*store), old);
    store->begin();
    store->set(Item("old"), Item(2));
    store->begin();
    for (int i = 0; i < 40; ++i) store->set(Item(i), Item(large)); // does not fit in the page cache
    store->rollback();
    disk.reset();
    store->set(Item("late"), Item(3)); // belongs to a transaction that has lost its beginning
    store->commit();
    log.expect(3, "[STORE] can't write to " + name + ": disk I/O error (778)");
    log.expect(3, "[STORE] " + name + " rolled back a transaction that it can't write");
    EXPECT_EQ(contentOf(*store), old);
    store->set(Item("old"), Item(4));
    store.reset();
    EXPECT_EQ(contentOf(path), "036F6C6400=0804 ");
}

} // namespace
} // namespace qel
