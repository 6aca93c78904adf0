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
using qel::String;
using qel::test::contentOf;
using qel::test::LogCapture;

void fill(MemoryStore& store, int count) {
    for (int i = 0; i < count; ++i) store.set(Item("key").add(i), Item(i));
}

TEST(MemoryStore, CopiesAndMovesItsOpenTransactions) {
    MemoryStore store;
    fill(store, 100);
    const std::string before = contentOf(store);
    store.begin();
    fill(store, 200);
    store.begin();
    store.remove(Item("key").add(10), Item("key").add(150));
    store.set(Item("key").add(5), Item("changed"));
    store.commit();
    const std::string after = contentOf(store);
    MemoryStore copy(store);
    MemoryStore assigned(false);
    assigned = copy;
    MemoryStore moved(std::move(store));
    for (MemoryStore* each : {&copy, &assigned, &moved}) {
        // Keys and values are those of the copy, not of the original.
        EXPECT_EQ(contentOf(*each), after);
        each->rollback();
        EXPECT_EQ(contentOf(*each), before);
    }
    store = std::move(moved);
    EXPECT_EQ(contentOf(store), before);
    EXPECT_EQ(contentOf(moved), "");
    moved.set(Item(1), Item(2));
    EXPECT_EQ(*moved.get(Item(1)), Item(2));
}

TEST(MemoryStore, BeginsAndCommitsNothingWithoutTransactions) {
    LogCapture log;
    MemoryStore store(false);
    store.begin();
    store.set(Item("a"), Item(1));
    store.commit();
    store.rollback();
    log.expect(3, "memorystore, rollback called in transactionless mode");
    EXPECT_TRUE(log.take().empty());
    EXPECT_EQ(*store.get(Item("a")), Item(1));
}

TEST(MemoryStore, KeepsValuesInTheirPlaceWhileOtherKeysAreWritten) {
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
        int count = 0;
        for (bool found = store.first(key); found; found = store.next(key, key)) {
            ASSERT_EQ(key, Item(count)) << step;
            ASSERT_EQ(*store.get(key), Item(count++)) << step;
        }
        EXPECT_EQ(count, kCount);
        store.begin();
        for (int i = 0, at = 5; i < kCount; ++i, at = (at + step) % kCount) store.remove(Item(at), Item(at));
        EXPECT_FALSE(store.first(key)) << step;
        store.rollback();
        for (bool found = store.prev(Item().addEnd(), key); found; found = store.prev(key, key)) {
            ASSERT_EQ(key, Item(--count)) << step;
        }
        EXPECT_EQ(count, 0);
    }
}

TEST(MemoryStore, CarriesTenThousandNestedTransactions) {
    constexpr int kPairs = 10'000;
    MemoryStore store;
    fill(store, 1000);
    const std::string before = contentOf(store);
    for (int i = 0; i < kPairs; ++i) {
        store.begin();
        store.set(Item("key").add(i % 1500), Item(-i));
    }
    for (int i = 0; i < kPairs - 1; ++i) i % 3 == 0 ? store.rollback() : store.commit();
    store.rollback();
    EXPECT_EQ(contentOf(store), before);
}

TEST(MemoryStore, WritesBlobsAsPairsOfSubItemsAndLeavesOutWhatIsNone) {
    MemoryStore store;
    store.set(Item("b"), Item());
    store.set(Item(5), Item("v"));
    Item blob;
    store.writeBlob(blob);
    const std::string pairs = qel::test::documentedBytes("store/blob");
    EXPECT_EQ(blob.getBase16(), pairs);

    const auto load = [&blob](const String& bytes) {
        MemoryStore loaded;
        loaded.set(Item(), Item(1500));
        loaded.set(Item("b"), Item("old"));
        EXPECT_TRUE(blob.setBase16(bytes));
        loaded.readBlob(blob);
        return contentOf(loaded);
    };
    const std::string content = "=07DC05 0805=037600 036200= ", kMore = "090300000003630009020000000806";
    for (size_t size = 0; size < kMore.size(); size += 2)
        EXPECT_EQ(load(pairs + kMore.substr(0, size)), content) << size; // cut in the third pair
    EXPECT_EQ(load(pairs + kMore), content + "036300=0806 ");
    EXPECT_EQ(load(pairs + ("0809" + kMore)), content); // no SubItem
    LogCapture log;
    MemoryStore refusing;
    refusing.readBlob(
        Item().addItem(Item("a").addWildcard()).addItem(Item(1)).addItem(Item(1)).addItem(Item(2)));
    log.expect(3, "memorystore, left out 1 keys with a wildcard or a nan");
    EXPECT_EQ(contentOf(refusing), "0801=0802 ");
}

/// Counts what it is asked for, or breaks off.
struct Counting : MemoryStore {
    const Item* get(const Item& key) override {
        if (isBroken) throw 1;
        return ++gets, MemoryStore::get(key);
    }
    void set(const Item& key, const Item& value) override {
        if (isBroken) throw 1;
        MemoryStore::set(key, value);
    }
    int gets = 0;
    bool isBroken = false;
};

class CacheStoreTest : public testing::Test {
protected:
    std::string counts() {
        return std::to_string(cache.getHits()) + " " + std::to_string(cache.getMisses()) + " " +
               std::to_string(backing->gets);
    }

    SmartPointer<Counting> backing{new Counting};
    CacheStore cache{backing.get()};
};

TEST_F(CacheStoreTest, RemembersPresentEmptyAndAbsentValues) {
    backing->set(Item("there"), Item());
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(cache.get(Item("absent")), nullptr);
        ASSERT_NE(cache.get(Item("there")), nullptr);
        EXPECT_EQ(cache.get(Item("there"))->getStore(), &cache);
    }
    EXPECT_EQ(counts(), "7 2 2");
    cache.set(Item("absent"), Item(1));
    EXPECT_EQ(*cache.get(Item("absent")), Item(1));
    EXPECT_EQ(*backing->get(Item("absent")), Item(1));
    EXPECT_EQ(counts(), "8 2 3");
}

TEST_F(CacheStoreTest, RemembersNothingOfACallThatTheStoreBehindBrokeOff) {
    backing->set(Item("a"), Item(1));
    backing->isBroken = true;
    EXPECT_THROW(cache.get(Item("a")), int);
    EXPECT_THROW(cache.set(Item("a"), Item(2)), int);
    backing->isBroken = false;
    ASSERT_NE(cache.get(Item("a")), nullptr);
    EXPECT_EQ(*cache.get(Item("a")), Item(1));
}

TEST_F(CacheStoreTest, ForgetsAllOnRollbackAndRemoveButNotOnCommit) {
    cache.begin();
    cache.set(Item("a"), Item(1));
    cache.begin();
    cache.set(Item("b"), Item(2));
    cache.commit();
    EXPECT_EQ(*cache.get(Item("b")), Item(2));
    EXPECT_EQ(counts(), "1 0 0");
    cache.rollback();
    EXPECT_EQ(cache.get(Item("a")), nullptr);
    EXPECT_EQ(counts(), "1 1 1");
    cache.remove(Item("x"), Item("y"));
    EXPECT_EQ(cache.get(Item("a")), nullptr);
    EXPECT_EQ(counts(), "1 2 2");
}

TEST_F(CacheStoreTest, GivesUpTheKeyThatWasNotUsedForLongest) {
    for (int i = 0; i < CacheStore::kCapacity; ++i) cache.set(Item(i), Item(i));
    EXPECT_EQ(*cache.get(Item(0)), Item(0)); // now 1 is the oldest
    cache.set(Item("one more"), Item());
    for (int i = 2; i < CacheStore::kCapacity; ++i) ASSERT_EQ(*cache.get(Item(i)), Item(i));
    EXPECT_EQ(*cache.get(Item(0)), Item(0));
    EXPECT_EQ(counts(), std::to_string(CacheStore::kCapacity) + " 0 0");
    EXPECT_EQ(*cache.get(Item(1)), Item(1));
    EXPECT_EQ(counts(), std::to_string(CacheStore::kCapacity) + " 1 1");
}

} // namespace
