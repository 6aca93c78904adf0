#include <qel/store/core/item.h>
#include <qel/store/sqlite/sqlite_store.h>

#include <tests/store/sqlite/full_disk.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/store_model.h>

#include <gtest/gtest.h>

#include <random>

namespace qel {
namespace {

using test::contentOf;

/// More levels than those for which the database itself has savepoints.
constexpr int kLevels = 5;

struct DeepTransactions : testing::Test {
    /// Opens @p count levels and writes in each.
    static void descend(Store& store, int count) {
        for (int level = 0; level < count; ++level) {
            store.begin();
            store.set(Item("level").add(level), Item(level));
        }
    }

    test::ScratchFolder scratch;
    test::LogCapture log;
    SqliteStore store{scratch.path("data.store")};
};

TEST_F(DeepTransactions, BehaveLikeAnOrderedMap) {
    constexpr int kOperations = 20'000;
    std::mt19937 random(3);
    test::StoreOperations operations(
        [&random](unsigned limit) { return static_cast<unsigned>(random() % limit); }, false);
    test::ModelStore model;
    descend(store, kLevels);
    descend(model, kLevels);
    for (int i = 0; i < kOperations; ++i) {
        const test::StoreOperation operation = operations.next();
        ASSERT_EQ(operation.perform(store), operation.perform(model))
            << operation.name << ", operation " << i;
    }
    EXPECT_TRUE(store.verify());
}

TEST_F(DeepTransactions, KeepOrRestoreEachOfManyLevels) {
    constexpr int kMany = 10'000;
    descend(store, kMany);
    for (int level = kMany - 1; level >= 0; --level) level % 1000 == 999 ? store.rollback() : store.commit();
    EXPECT_EQ(store.get(Item("level").add(999)), nullptr);
    EXPECT_EQ(store.get(Item("level").add(kMany - 1)), nullptr);
    EXPECT_EQ(*store.get(Item("level").add(998)), Item(998));
}

TEST_F(DeepTransactions, AreLostCompletelyIfALevelCannotBeRestored) {
    const Item first("large"), last = Item("large").addEnd();
    for (int i = 0; i < 40; ++i) store.set(Item("large").add(i), Item(std::string(1'000'000, 'x')));
    ASSERT_TRUE(store.tryFlush());
    const std::string before = contentOf(store);
    descend(store, kLevels);
    store.remove(first, last);
    {
        const test::FullDisk disk; // the restored values do not fit in the page cache
        store.rollback();
    }
    log.expect(3, "[STORE] can't roll back store '" + scratch.path("data.store") + "': disk I/O error (778)");
    EXPECT_TRUE(contentOf(store) == before);
    store.set(Item("late"), Item(1));
    for (int level = 1; level < kLevels; ++level) EXPECT_FALSE(store.tryCommit()) << level;
    log.expect(3, "[STORE] store '" + scratch.path("data.store") +
                      "' rolled back a transaction that it can't write");
    EXPECT_EQ(store.lastError(), "disk I/O error (778)");
    EXPECT_TRUE(contentOf(store) == before);
    store.set(Item("later"), Item(1));
    EXPECT_TRUE(store.tryFlush());
}

} // namespace
} // namespace qel
