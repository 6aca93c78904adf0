#include <qel/store/core/log_db.h>

#include <qel/store/core/memory_store.h>
#include <tests/support/formats_page.h>
#include <tests/support/store_dump.h>

#include <gtest/gtest.h>

#include <map>
#include <random>

using namespace qel;

namespace {

/// A model of addLine() that works line by line.
struct Model {
    std::map<int64, int64> lines;
    int64 begin = 0, end = 0;

    void add(int64 time, int64 maxLines, int64 range) {
        lines[end++] = time;
        for (int64 i = begin; maxLines != 0 && i <= end - maxLines; ++i) lines.erase(i);
        if (maxLines != 0) begin = end - maxLines;
        while (range != 0 && begin < end && !(lines.contains(begin) && lines[begin] >= time - range)) {
            lines.erase(lines.lower_bound(begin), lines.upper_bound(begin + 100));
            begin = std::min(begin + 100, end);
        }
    }
};

struct LogDBTest : testing::Test {
    void add(int64 time, const char* text = "") {
        LogMessage message(time, text);
        log->addLine(&message);
    }
    std::map<int64, int64> lines() const {
        std::map<int64, int64> found;
        Item key;
        for (bool more = log->getData().child(key); more; more = key.next())
            found[key.trail().getIterator().convertAsInteger()] =
                key.fetch()->getIterator().convertAsInteger();
        return found;
    }

    SmartPointer<MemoryStore> store = makeObject<MemoryStore>();
    Item root = Item(store.get()).add("log");
    SmartPointer<LogDB> log = makeObject<LogDB>(root);
};

} // namespace

TEST_F(LogDBTest, StoresLinesInTheDocumentedForm) {
    log->setMaxNumLines(0);
    add(5, "hi");
    EXPECT_EQ(test::contentOf(*store), test::documentedEntries("log"));
}

TEST_F(LogDBTest, CutsByItsLimitsAlsoAfterARestart) {
    for (unsigned seed = 0; seed < 10; ++seed) {
        std::mt19937 random(seed);
        root.remove();
        log = makeObject<LogDB>(root);
        Model model;
        for (int64 step = 0, time = 0, maxLines = 0, range = 0; step < 400; ++step, time += random() % 5) {
            if (random() % 40 == 0) log = makeObject<LogDB>(root);
            if (random() % 40 == 0) maxLines = std::array{0, 1, 2, 30, 170, 100'000}[random() % 6];
            if (random() % 40 == 0) range = std::array{0, 1, 40, 400}[random() % 4];
            log->setMaxNumLines(maxLines);
            log->setMaxTimeRange(range);
            add(time);
            model.add(time, maxLines, range);
            ASSERT_EQ(log->getBegin(), model.begin) << "seed " << seed << " step " << step;
            ASSERT_EQ(lines(), model.lines) << "seed " << seed << " step " << step;
        }
    }
}
