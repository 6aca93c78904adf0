#include <qel/store/core/log_db.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/store/core/memory_store.h>
#include <tests/support/log_capture.h>
#include <tests/support/store_dump.h>

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <map>
#include <random>

using namespace qel;

namespace {

/// Number and time of each line.
using Lines = std::map<int64, int64>;

/// Counts transactions that aren't inside another.
class CountingStore : public MemoryStore {
public:
    void begin() override {
        if (depth++ == 0) ++transactions;
        MemoryStore::begin();
    }
    void commit() override {
        --depth;
        MemoryStore::commit();
    }

    int depth = 0;
    int transactions = 0;
};

class LogDBTest : public testing::Test {
protected:
    LogDBTest() : m_root(m_store.get()) { m_root.add("log"); }

    SmartPointer<LogDB> open() { return makeObject<LogDB>(m_root); }
    static void add(LogDB& log, int64 time, const char* text = "") {
        LogMessage message(time, text);
        log.addLine(&message);
    }
    Item child(const char* name) const {
        Item key(m_root);
        key.add(name);
        return key;
    }
    Lines linesIn(LogDB& log) const {
        Lines lines;
        Item key;
        for (bool more = log.getData().child(key); more; more = key.next())
            lines[key.trail().getIterator().convertAsInteger()] =
                key.fetch()->getIterator().convertAsInteger();
        return lines;
    }

    SmartPointer<CountingStore> m_store = makeObject<CountingStore>();
    Item m_root;
};

/// What addLine() does, told line by line.
struct Model {
    Lines lines;
    int64 begin = 0, end = 0;

    void add(int64 time, int64 maxLines, int64 range) {
        lines[end++] = time;
        int64 first = begin;
        if (maxLines != 0) {
            for (int64 i = first; i <= end - maxLines; ++i) lines.erase(i);
            first = end - maxLines;
        }
        while (range != 0 && first < end) {
            if (lines.contains(first) && lines[first] >= time - range) break;
            for (int64 i = first; i <= first + 100; ++i) lines.erase(i);
            first = std::min(first + 100, end);
        }
        begin = first;
    }
};

} // namespace

TEST_F(LogDBTest, KeepsItsLinesAndCountersInTheFormThatIsDocumented) {
    const auto log = open();
    log->setMaxNumLines(0);
    add(*log, 5, "hi");
    const std::string root = "036C6F6700";
    EXPECT_EQ(test::dumpStore(*m_store),
              (std::vector<std::string>{" = ", root + " = ",
                                        root + "036461746100 = ", root + "0364617461000800 = 080503686900",
                                        root + "036669727374506F7300 = 0800", root + "03706F7300 = 0801"}));
}

TEST_F(LogDBTest, HoldsOneLineFewerThanItsLimitAndALineOfTheLimitsAge) {
    auto log = open();
    log->setMaxNumLines(2);
    for (int64 time = 0; time < 3; ++time) add(*log, time);
    EXPECT_EQ(linesIn(*log), (Lines{{2, 2}}));
    EXPECT_EQ(log->getBegin(), 1);
    log->setMaxNumLines(0);
    log->setMaxTimeRange(8);
    add(*log, 10); // line 1 is missing, so that its block goes
    EXPECT_EQ(linesIn(*log), Lines());
    add(*log, 20);
    add(*log, 28);
    EXPECT_EQ(linesIn(*log), (Lines{{4, 20}, {5, 28}}));
    add(*log, 29);
    EXPECT_EQ(linesIn(*log), Lines());
}

TEST_F(LogDBTest, CutsAsToldUnderAnyLimitsAndGoesOnAfterARestart) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        std::mt19937 random(seed);
        m_root.remove();
        auto log = open();
        Model model;
        int64 time = 0, maxLines = 0, range = 0;
        for (int step = 0; step < 400; ++step) {
            if (random() % 40 == 0) log = open();
            if (random() % 40 == 0) maxLines = std::array{0, 1, 2, 30, 170, 100'000}[random() % 6];
            if (random() % 40 == 0) range = std::array{0, 1, 40, 400}[random() % 4];
            log->setMaxNumLines(maxLines);
            log->setMaxTimeRange(range);
            time += random() % 5;
            add(*log, time);
            model.add(time, maxLines, range);
            ASSERT_EQ(log->getBegin(), model.begin) << "seed " << seed << " step " << step;
            ASSERT_EQ(log->getEnd(), model.end);
            if (step % 16 == 0) {
                ASSERT_EQ(linesIn(*log), model.lines) << "seed " << seed << " step " << step;
            }
        }
    }
}

TEST_F(LogDBTest, WritesOverNoLineWhateverItsCountersSay) {
    struct Case {
        Item pos, firstPos;
        Vector<int64> lines;
        int64 begin, end;
    };
    const int64 huge = std::numeric_limits<int64>::max();
    const Case cases[] = {
        {1, 0, {0, 1, 2}, 0, 3}, // behind by two lines
        {"3", 0, {7}, 0, 8},     // no number
        {huge, 0, {}, 0, 0},     // would overflow
        {-5, -huge - 1, {2}, -huge - 1, 3},
        {5, 5, {2, 3}, 2, 5}, // lines that would never be cut off
        {5, 9, {}, 5, 5},
        {3, Item(Item::NILType), {huge}, 0, 3}, // a line out of reach
    };
    for (const Case& c : cases) {
        m_root.remove();
        child("pos").store(c.pos);
        child("firstPos").store(c.firstPos);
        for (const int64 number : c.lines) child("data").add(number).store(Item("kept"));
        test::LogCapture capture;
        const auto log = open();
        capture.expect(3, "[STORE] counters of the log do not go with its lines, set to " +
                              std::to_string(c.begin) + " and " + std::to_string(c.end));
        EXPECT_EQ(log->getEnd(), c.end);
        log->setMaxNumLines(0);
        for (int i = 0; i < 3; ++i) add(*log, i);
        for (const int64 number : c.lines)
            EXPECT_EQ(*child("data").add(number).fetch(), Item("kept")) << number;
        for (const int64 range : {int64{1}, huge, -huge}) {
            log->setMaxTimeRange(range);
            log->setMaxNumLines(-range);
            add(*log, range);
        }
    }
}

TEST_F(LogDBTest, TakesKeptLinesInPortionsOf512EachInOneTransaction) {
    EXPECT_EQ(LogBackend::flushTo(1, open().get()), 0u);
    {
        test::LogCapture capture;
        LogBackend::registerBackend(true);
        for (int i = 0; i < 1000; ++i) logging::info() << i;
        logging::MessageStream(1, 1) << "for customers";
        capture.take();
    }
    const auto log = open();
    log->setMaxNumLines(0);
    m_store->transactions = 0;
    for (const unsigned moved : {512u, 488u, 0u}) EXPECT_EQ(LogBackend::flushTo(1, log.get()), moved);
    EXPECT_EQ(m_store->transactions, 2);
    LogBackend::unregisterBackend();
    Item key;
    int count = 0;
    for (bool more = log->getData().child(key); more; more = key.next(), ++count) {
        auto line = key.fetch()->getIterator();
        line.skip();
        ASSERT_EQ(line.convertAsString(), std::to_string(count));
    }
    EXPECT_EQ(count, 1000);
    EXPECT_EQ(LogBackend::flushTo(0, log.get()), 0u);
}
