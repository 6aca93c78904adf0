#include <qel/foundation/log/log_backend.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/clock.h>

#include <tests/support/threads.h>

#include <gtest/gtest.h>

using namespace qel;
using logging::MessageStream;

namespace {

using Texts = std::vector<std::string>;

constexpr int64 kMinute = 60'000;

class Backend : public testing::Test {
protected:
    void SetUp() override { Clock::install(&m_clock); }
    void TearDown() override {
        LogBackend::unregisterBackend();
        logging::g_hideTimeInConsole = false;
        Clock::install(nullptr);
    }
    void listen() {
        LogBackend::getSignalNewSupportMessage().connect(
            [this](const char* batch) { m_batches.emplace_back(batch); });
    }
    /// Logs @p text for the support and advances the clock. @return the number of batches sent so far.
    size_t batchesAfter(const std::string& text, int64 ms) {
        if (!text.empty()) MessageStream(1, 2) << "[SUPPORT] " << text;
        m_clock.advanceMs(ms);
        LogBackend::processSupportMessages();
        return m_batches.size();
    }

    ManualClock m_clock;
    Texts m_batches;
};

Texts takeAll(unsigned channelIndex) {
    Texts texts;
    while (auto message = LogBackend::takeMessage(channelIndex)) texts.push_back(message->text);
    return texts;
}

} // namespace

TEST_F(Backend, KeepsLinesOfEachChannelInOrder) {
    LogBackend::registerBackend(false);
    MessageStream(1, 3) << "lost";
    LogBackend::registerBackend(true);
    m_clock.setUtcTicks(42);
    MessageStream(0, 3) << "both";
    for (const int channels : {-1, 0, 1, 2}) MessageStream(1, channels) << channels;
    const auto first = LogBackend::takeMessage(0);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->time, 42);
    EXPECT_EQ(first->text, "[VERBOSE] both");
    EXPECT_EQ(takeAll(0), Texts{"1"});
    EXPECT_FALSE(LogBackend::takeMessage(2));
    EXPECT_EQ(takeAll(1), (Texts{"[VERBOSE] both", "2"}));
    MessageStream(1, 3) << "dropped with the backend";
    LogBackend::unregisterBackend();
    LogBackend::registerBackend(true);
    EXPECT_TRUE(takeAll(1).empty());
}

TEST_F(Backend, TheConsoleShowsPrefixesAndTheTimeSinceRegistration) {
    const logging::ConsoleWriter writer = logging::setConsoleWriter(nullptr);
    testing::internal::CaptureStdout();
    m_clock.advanceMs((int64{1} << 32) - 500); // the milliseconds will wrap
    for (int level = 0; level <= 4; ++level) MessageStream(level, 2) << "text";
    LogBackend::registerBackend(false);
    m_clock.advanceMs(1042);
    MessageStream(2, 2) << "technical";
    m_clock.advanceMs(99'000'000);
    MessageStream(1, 3) << "customer";
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[VERBOSE] text\ntext\n[WARNING] text\n[ERROR] text\n[ASSERT] text\n"
              "[  1.042] [WARNING] technical\n<99001.042> customer\n");
    logging::setConsoleWriter(writer);
}

TEST_F(Backend, BatchesWaitUntilTheyAreQuietOldOrBig) {
    listen();
    const std::tuple<const char*, int64, size_t> steps[] = {
        {"one", 3 * kMinute - 1, 0}, {"two", 3 * kMinute, 0},    {"", 1, 1},
        {"", 50 * kMinute, 1},       {"three", 10 * kMinute, 1}, {"", 1, 2}}; // exactly an hour isn't enough
    for (const auto& [text, ms, batches] : steps) EXPECT_EQ(batchesAfter(text, ms), batches) << text << ms;
    for (int i = 0; i < 30; ++i) EXPECT_EQ(batchesAfter("again", kMinute), 2u);
    EXPECT_EQ(batchesAfter("", 1), 3u);
    for (int i = 0; i < 250; ++i) EXPECT_EQ(batchesAfter(std::string(1000, 'x'), 0), 3u) << i;
    EXPECT_EQ(batchesAfter(std::string(20'000, 'x'), 0), 4u);
}

TEST_F(Backend, LinesOfEachThreadArriveWholeAndInOrder) {
    constexpr int kLines = 300;
    LogBackend::registerBackend(true);
    test::onThreads(8, [](int t) {
        for (int i = 0; i < kLines; ++i) MessageStream(1, 2) << t << ' ' << i << ' ' << std::hex << t;
        logging::g_hideTimeInConsole = (t % 2) != 0; // hosts set the switches while others log
        LogBackend::processSupportMessages();
    });
    std::vector<int> next(8, 0);
    for (const std::string& text : takeAll(1)) {
        const std::string t = text.substr(0, 1);
        EXPECT_EQ(text, t + ' ' + std::to_string(next.at(static_cast<size_t>(text[0] - '0'))++) + ' ' + t);
    }
    EXPECT_EQ(next, std::vector<int>(8, kLines));
}

TEST_F(Backend, ABoundedQueueDropsLinesAndStatesTheirNumber) {
    LogBackend::registerBackend(true);
    LogBackend::limitMessages(2, 30);
    for (const char* text : {"one", "two", "three", "four"}) MessageStream(1, 2) << text;
    EXPECT_EQ(LogBackend::takeMessage(1)->text, "one");
    MessageStream(1, 2) << "five";
    EXPECT_EQ(takeAll(1),
              (Texts{"two", "[WARNING] dropped 2 lines that came faster than they were stored", "five"}));
    MessageStream(1, 2) << std::string(31, 'x');
    EXPECT_EQ(takeAll(1), Texts{"[WARNING] dropped 1 lines that came faster than they were stored"});
}

TEST_F(Backend, MayBeReplacedWhileOtherThreadsLog) {
    test::onThreads(3, [](int t) {
        for (int i = 0; i < 500; ++i) {
            if (t == 0) LogBackend::registerBackend(i % 2 == 0);
            MessageStream(0, 2) << "line";
            LogBackend::takeMessage(1);
            if (t == 0) LogBackend::unregisterBackend();
        }
    });
    EXPECT_FALSE(LogBackend::takeMessage(1));
}
