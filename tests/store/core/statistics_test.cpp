#include <qel/store/core/memory_store.h>
#include <qel/store/core/statistics.h>

#include <gtest/gtest.h>

namespace qel {
namespace {

TEST(Statistics, WritesChangedCountersAndReadsThemBack) {
    MemoryStore store;
    Item root(&store);
    root.add("statistics");
    const auto stored = [&root](const char* name) { return Item(root).add(name).fetch()->asString(); };
    Statistics statistics(root);
    statistics.increase("runs", 5);
    statistics.increase("runs", 2);
    statistics.set("big", uint64{1} << 63 | 9);
    statistics.flushToDatabase();
    EXPECT_EQ(stored("runs"), "{<INT:7>}");
    EXPECT_EQ(stored("big"), "{<INT:-9223372036854775799>}");
    EXPECT_EQ(Statistics(root).get("big"), uint64{1} << 63 | 9);
    Item(root).add("big").store(Item("changed by others"));
    statistics.increase("runs", 1);
    statistics.flushToDatabase();
    EXPECT_EQ(stored("runs"), "{<INT:8>}");
    EXPECT_EQ(stored("big"), "{<STR:changed by others>}");
}

} // namespace
} // namespace qel
