#include <qel/store/core/cache_store.h>
#include <qel/store/core/item.h>
#include <qel/store/core/scoped_transaction.h>
#include <qel/store/sqlite/sqlite_store.h>

#include <tests/store/sqlite/full_disk.h>
#include <tests/support/failing_files.h>
#include <tests/support/faulty_database.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/store_dump.h>

#include <gtest/gtest.h>

#include <optional>

namespace qel {
namespace {

using test::contentOf;
using test::FullDisk;

const std::string kLarge(1'000'000, 'x');
const Item kKey("key");

/// Two stores in files, one of them wrapped in a cache, each with one entry.
struct StoreFailure : testing::TestWithParam<bool> {
    static void SetUpTestSuite() { test::installFaultyDatabase(); }
    void SetUp() override {
        SmartPointer<Store> file(new SqliteStore(scratch.path("data.store")));
        store = GetParam() ? SmartPointer<Store>(new CacheStore(file.get())) : file;
        store->set(kKey, Item(1));
        ASSERT_TRUE(store->tryFlush());
    }
    void TearDown() override {
        store.reset();
        log.take();
    }

    test::ScratchFolder scratch;
    test::LogCapture log;
    SmartPointer<Store> store;
};

TEST_P(StoreFailure, ACommitOnAFullDiskIsRolledBack) {
    store->begin();
    store->set(kKey, Item(kLarge));
    {
        const FullDisk disk;
        EXPECT_FALSE(store->tryCommit());
    }
    EXPECT_EQ(store->lastError(), "disk I/O error (778)");
    EXPECT_EQ(*store->get(kKey), Item(1));
}

TEST_P(StoreFailure, TheFirstErrorIsKeptUntilItIsCleared) {
    EXPECT_EQ(store->lastError(), "");
    {
        const FullDisk disk;
        ScopedTransaction transaction(store.get());
        store->set(kKey, Item(kLarge));
        EXPECT_FALSE(transaction.tryCommit());
        EXPECT_FALSE(transaction.tryCommit()) << "it is already over";
    }
    store->set(kKey, Item(2));
    EXPECT_TRUE(store->tryFlush());
    EXPECT_EQ(store->lastError(), "disk I/O error (778)");
    store->clearLastError();
    EXPECT_EQ(store->lastError(), "");
}

TEST_P(StoreFailure, WritesSucceedAgainWhenThereIsSpace) {
    {
        const FullDisk disk;
        store->set(Item("other"), Item(kLarge));
        EXPECT_FALSE(store->tryFlush());
    }
    EXPECT_EQ(store->get(Item("other")), nullptr);
    ScopedTransaction transaction(store.get());
    store->set(kKey, Item(3));
    EXPECT_TRUE(transaction.tryCommit());
    EXPECT_TRUE(store->tryFlush());
    EXPECT_EQ(*store->get(kKey), Item(3));
}

TEST_P(StoreFailure, AFlushReportsWritesLostBeforeIt) {
    {
        const FullDisk disk;
        for (int i = 0; i < 3; ++i) store->set(Item(i), Item(kLarge));
    }
    EXPECT_FALSE(store->tryFlush());
    EXPECT_TRUE(store->tryFlush());
}

TEST_P(StoreFailure, AFlushSucceedsOnlyWhenEveryCommitIsOnTheDisk) {
    ScopedTransaction transaction(store.get());
    store->set(kKey, Item(2));
    EXPECT_TRUE(transaction.tryCommit());
    {
        const test::FailingFiles disk(platform::Operation::Sync, std::errc::io_error);
        EXPECT_FALSE(store->tryFlush());
    }
    EXPECT_TRUE(store->tryFlush());
}

TEST_P(StoreFailure, WritesOfAFailedTransactionAreNeverSeen) {
    std::optional<FullDisk> disk(std::in_place);
    store->begin();
    store->begin();
    for (int i = 0; i < 40; ++i) store->set(Item(i), Item(kLarge)); // does not fit in the page cache
    disk.reset();
    store->set(kKey, Item(2));
    EXPECT_EQ(*store->get(kKey), Item(1));
    EXPECT_FALSE(store->tryCommit());
    EXPECT_FALSE(store->tryCommit());
    EXPECT_EQ(store->get(Item(0)), nullptr);
    EXPECT_EQ(*store->get(kKey), Item(1));
    EXPECT_EQ(store->lastError(), "disk I/O error (778)");
}

TEST_P(StoreFailure, AClosedStoreHasNoValuesAndRefusesWrites) {
    EXPECT_EQ(*store->get(kKey), Item(1));
    store->close();
    EXPECT_EQ(store->get(kKey), nullptr);
    EXPECT_EQ(store->lastError(), "");
    store->begin();
    store->set(kKey, Item(2));
    EXPECT_FALSE(store->tryCommit());
    EXPECT_FALSE(store->tryFlush());
    EXPECT_EQ(store->lastError(), "the store is not open");
}

INSTANTIATE_TEST_SUITE_P(Sqlite, StoreFailure, testing::Bool(),
                         [](const auto& isCached) { return isCached.param ? "Cached" : "Plain"; });

} // namespace
} // namespace qel
