#include <qel/store/core/item.h>
#include <qel/store/sqlite/sqlite_store.h>

#include <tests/support/formats_page.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>

#include <gtest/gtest.h>

#include <optional>
#include <sqlite3.h>

namespace qel {
namespace {

constexpr const char* kFault = "a value is out of place (25611)";
const Item kKey = Item("image").add(7);

/// Returns a value of @p size bytes in its plain form.
Item valueOf(size_t size) {
    return Item(std::string(size - 2, 'v'));
}

struct LargeValues : testing::Test {
    void open() { store.emplace(path); }
    void close() { store.reset(); }
    /// Runs SQL on the closed file. @return the last number that it selects, or -1.
    int64 run(const std::string& sql) const {
        sqlite3* database = nullptr;
        EXPECT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
        int64 number = -1;
        const auto take = [](void* result, int, char** columns, char**) {
            *static_cast<int64*>(result) = std::atoll(columns[0]);
            return 0;
        };
        EXPECT_EQ(sqlite3_exec(database, sql.c_str(), take, &number, nullptr), SQLITE_OK) << sql;
        EXPECT_EQ(sqlite3_close(database), SQLITE_OK);
        return number;
    }
    int64 countLarge() const { return run("SELECT count(*) FROM large_values"); }
    /// Converts the file, which must not contain large values, to the first layout.
    void makeFirstLayout() const { run("DROP TABLE large_values; PRAGMA user_version = 1"); }
    void expectRefused(const std::string& reason) {
        const std::string before = scratch.read("data.store");
        EXPECT_FALSE(SqliteStore(path).good());
        log.expect(3, "[STORE] can't open store '" + path + "': damaged: " + reason);
        EXPECT_TRUE(scratch.read("data.store") == before);
    }

    test::ScratchFolder scratch;
    std::string path = scratch.path("data.store");
    test::LogCapture log;
    std::optional<SqliteStore> store;
};

TEST_F(LargeValues, AreStoredOutsideTheRows) {
    open();
    store->set(kKey, valueOf(513));
    store->set(Item("small"), valueOf(512));
    close();
    EXPECT_EQ(countLarge(), 1);
    EXPECT_NE(
        String(scratch.read("data.store")).encodeBase16().find(test::documentedBytes("sqlite/large-row")),
        std::string::npos);
    open();
    EXPECT_EQ(*store->get(kKey), valueOf(513));
    EXPECT_EQ(*store->get(Item("small")), valueOf(512));
}

TEST_F(LargeValues, OfAnEarlierLayoutMoveWhenWritten) {
    open();
    store->set(kKey, Item(1));
    store->set(Item("other"), Item(2));
    close();
    makeFirstLayout();
    run("UPDATE entries SET value = X'" + std::string(valueOf(3000).getBase16()) + "'");
    open();
    EXPECT_EQ(*store->get(kKey), valueOf(3000));
    store->set(kKey, valueOf(3001));
    EXPECT_TRUE(store->verify());
    close();
    EXPECT_EQ(countLarge(), 1);
    EXPECT_EQ(scratch.read("data.store").substr(60, 4), std::string("\0\0\0\2", 4));
    open();
    EXPECT_EQ(*store->get(kKey), valueOf(3001));
    EXPECT_EQ(*store->get(Item("other")), valueOf(3000));
}

TEST_F(LargeValues, ThatDoNotBelongToARowAreDamage) {
    open();
    for (int i = 7; i < 10; ++i) store->set(Item("image").add(i), valueOf(600));
    close();
    const std::string sound = scratch.read("data.store");
    for (const char* damage :
         {"DELETE FROM large_values WHERE id = (SELECT min(id) FROM large_values)",
          "DELETE FROM entries WHERE position = (SELECT min(position) FROM entries)",
          "UPDATE entries SET value = (SELECT max(value) FROM entries) WHERE value = "
          "(SELECT min(value) FROM entries)",
          "UPDATE entries SET value = value + (1 << 30)", "UPDATE entries SET value = 'text'",
          "UPDATE large_values SET value = 'text'", "UPDATE large_values SET value = 1"}) {
        scratch.write("data.store", sound);
        run(damage);
        SCOPED_TRACE(damage);
        expectRefused(kFault);
    }
}

TEST_F(LargeValues, OfAnotherKeyAreNeverReturned) {
    open();
    for (int i = 0; i <= SqliteStore::kCheckedBytes / 1'000'000; ++i)
        store->set(Item("image").add(i), valueOf(1'000'000));
    close();
    run("UPDATE entries SET value = (SELECT max(value) FROM entries)");
    open();
    ASSERT_TRUE(store->good()) << "it is too large to be checked when opened";
    EXPECT_EQ(store->get(kKey), nullptr);
    EXPECT_FALSE(store->good());
    log.expect(3, "[STORE] store '" + path + "' is damaged and was closed: " + kFault);
}

} // namespace
} // namespace qel
