#include <qel/store/core/memory_store.h>
#include <qel/store/core/statistics.h>

#include <gtest/gtest.h>

namespace qel {
namespace {

struct StatisticsTest : ::testing::Test {
    StatisticsTest() { root.add("statistics"); }
    /// Returns the text stored at the counter, or "-".
    String stored(const char* name) const {
        const Item* const value = Item(root).add(name).fetch();
        return value ? value->asString() : String("-");
    }

    MemoryStore store;
    Item root{&store};
};

TEST_F(StatisticsTest, WritesChangedCountersAndReadsThemBack) {
    Statistics statistics(root);
    statistics.increase("runs", 5);
    statistics.increase("runs", 2);
    statistics.set("big", uint64{1} << 63 | 9);
    statistics.set(nullptr, 3);
    EXPECT_EQ(statistics.get("unknown"), 0u);
    statistics.increase("new", 0);
    statistics.flushToDatabase();
    EXPECT_EQ(stored("runs"), "{<INT:7>}");
    EXPECT_EQ(stored("big"), "{<INT:-9223372036854775799>}");
    EXPECT_EQ(stored(""), "{<INT:3>}");
    EXPECT_EQ(stored("unknown"), "-");
    EXPECT_EQ(stored("new"), "-");
    Statistics again(root);
    again.increase("big", ~uint64{0} - (uint64{1} << 63));
    EXPECT_EQ(again.get("big"), 8u); // wrapped
    Item(root).add("big").store(Item("changed by others"));
    statistics.increase("runs", 1);
    statistics.increase("big", 0);
    statistics.flushToDatabase();
    EXPECT_EQ(stored("runs"), "{<INT:8>}");
    EXPECT_EQ(stored("big"), "{<STR:changed by others>}");
}

} // namespace
} // namespace qel
