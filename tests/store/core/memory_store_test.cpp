#include <qel/store/core/cache_store.h>
#include <qel/store/core/memory_store.h>
#include <tests/support/formats_page.h>
#include <tests/support/log_capture.h>
#include <tests/support/store_model.h>

#include <gtest/gtest.h>

namespace {

using qel::CacheStore;
using qel::Item;
using qel::MemoryStore;
using qel::SmartPointer;
using qel::test::contentOf;
using qel::test::LogCapture;

void fill(MemoryStore& store, int count) {
    for (int i = 0; i < count; ++i) store.set(Item("key").add(i), Item(i));
}

static_assert(std::is_nothrow_move_constructible_v<MemoryStore>);
static_assert(std::is_nothrow_move_assignable_v<MemoryStore>);

TEST(MemoryStore, CopiesAndMovesItsOpenTransactions) {
    MemoryStore store;
    fill(store, 100);
    const std::string before = contentOf(store);
    store.begin();
    fill(store, 200);
    store.begin();
    store.remove(Item("key").add(10), Item("key").add(150));
    store.commit();
    const std::string after = contentOf(store);
    MemoryStore copy(store);
    MemoryStore assigned(false);
    assigned = copy;
    MemoryStore moved(std::move(store));
    for (MemoryStore* each : {&copy, &assigned, &moved}) {
        // Keys and values belong to the copy, not to the original.
        EXPECT_EQ(contentOf(*each), after);
        each->rollback();
        EXPECT_EQ(contentOf(*each), before);
    }
}

TEST(MemoryStore, ValuesDoNotMoveWhileOtherKeysAreWritten) {
    MemoryStore store;
    fill(store, 1000);
    const Item* const value = store.get(Item("key").add(500));
    fill(store, 500);
    for (int i = 501; i < 3000; ++i) store.set(Item("key").add(i), Item(0));
    store.remove(Item(), Item("key").add(499));
    EXPECT_EQ(store.get(Item("key").add(500)), value);
    EXPECT_EQ(*value, Item(500));
}

TEST(MemoryStore, GrowsAndShrinksInAnyOrder) {
    constexpr int kCount = 20'000;
    for (const int step : {1, kCount - 1, 7919}) {
        MemoryStore store;
        for (int i = 0, at = 0; i < kCount; ++i, at = (at + step) % kCount) store.set(Item(at), Item(at));
        Item key;
        store.begin();
        for (int i = 0, at = 5; i < kCount; ++i, at = (at + step) % kCount) store.remove(Item(at), Item(at));
        EXPECT_FALSE(store.first(key)) << step;
        store.rollback();
        int count = 0;
        for (bool found = store.first(key); found; found = store.next(key, key), ++count) {
            ASSERT_EQ(key, Item(count)) << step;
            ASSERT_EQ(*store.get(key), Item(count)) << step;
        }
        EXPECT_EQ(count, kCount);
    }
}

TEST(MemoryStore, WritesBlobsAsPairsOfSubItems) {
    MemoryStore store;
    store.set(Item("b"), Item());
    store.set(Item(5), Item("v"));
    Item blob;
    store.writeBlob(blob);
    const std::string pairs = qel::test::documentedBytes("store/blob");
    EXPECT_EQ(blob.getBase16(), pairs);
    MemoryStore loaded;
    loaded.set(Item(), Item(1500));
    loaded.set(Item("b"), Item("old"));
    loaded.readBlob(blob.addItem(Item("cut")));
    EXPECT_EQ(contentOf(loaded), "=07DC05 0805=037600 036200= ");
    LogCapture log;
    store.readBlob(Item().addItem(Item("a").addWildcard()).addItem(Item(1)));
    log.expect(3, "memorystore, left out 1 keys with a wildcard or a nan");
}

/// Counts the queries it receives.
struct Counting : MemoryStore {
    const Item* get(const Item& key) override { return ++gets, MemoryStore::get(key); }
    int gets = 0;
};

TEST(CacheStore, RemembersTheLastUsedKeysPresentOrAbsent) {
    const SmartPointer<Counting> backing(new Counting);
    CacheStore cache(backing.get());
    for (int i = 0; i < 3; ++i) EXPECT_EQ(cache.get(Item("absent")), nullptr);
    EXPECT_EQ(backing->gets, 1);
    for (int i = 0; i < CacheStore::kCapacity; ++i) cache.set(Item(i), Item(i));
    EXPECT_EQ(*cache.get(Item(0)), Item(0)); // now 1 is the oldest
    cache.set(Item("one more"), Item());
    for (int i = 2; i < CacheStore::kCapacity; ++i) ASSERT_EQ(*cache.get(Item(i)), Item(i));
    EXPECT_EQ(backing->gets, 1);
    EXPECT_EQ(*cache.get(Item(1)), Item(1));
    EXPECT_EQ(backing->gets, 2);
}

} // namespace
