#include <qel/foundation/log/log_backend.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/clock.h>

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

using namespace qel;
using logging::MessageStream;

namespace {

constexpr int64 kMinute = 60'000;

class Backend : public testing::Test {
protected:
    void SetUp() override { Clock::install(&m_clock); }
    void TearDown() override {
        LogBackend::unregisterBackend();
        Clock::install(nullptr);
    }
    /// Listens for support batches.
    void listen() {
        LogBackend::getSignalNewSupportMessage().connect(
            [this](const char* batch) { m_batches.emplace_back(batch); });
    }
    /// The number of batches that have gone out after this chance to send one.
    size_t process() {
        LogBackend::processSupportMessages();
        return m_batches.size();
    }

    ManualClock m_clock;
    std::vector<std::string> m_batches;
};

std::vector<std::string> takeAll(unsigned channelIndex) {
    std::vector<std::string> texts;
    while (auto message = LogBackend::takeMessage(channelIndex)) texts.push_back(message->text);
    return texts;
}

using Texts = std::vector<std::string>;

} // namespace

TEST_F(Backend, KeepsLinesOfEachChannelInOrderWithTheirStamp) {
    LogBackend::registerBackend(true);
    m_clock.setUtcTicks(42);
    MessageStream(0, 3) << "both";
    MessageStream(1, 2) << "technical";
    MessageStream(1, 1) << "customers";
    MessageStream(1, 0) << "none";
    const auto first = LogBackend::takeMessage(0);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->time, 42);
    EXPECT_EQ(first->text, "[VERBOSE] both");
    EXPECT_EQ(takeAll(0), Texts{"customers"});
    EXPECT_EQ(takeAll(1), (Texts{"[VERBOSE] both", "technical"}));
    EXPECT_FALSE(LogBackend::takeMessage(2));
    MessageStream(2, -1) << "off";
    EXPECT_TRUE(takeAll(0).empty() && takeAll(1).empty());
}

TEST_F(Backend, KeepsNothingUnlessTold) {
    LogBackend::registerBackend(false);
    MessageStream(1, 3) << "lost";
    LogBackend::registerBackend(true);
    MessageStream(1, 3) << "kept";
    LogBackend::unregisterBackend();
    EXPECT_FALSE(LogBackend::takeMessage(0));
    LogBackend::registerBackend(true);
    EXPECT_TRUE(takeAll(1).empty()) << "what was kept went with the backend";
}

TEST_F(Backend, ALineFromAListenerIsDropped) {
    int heard = 0;
    LogBackend::getSignalNewLogMessage().connect([&](int, const char*) {
        ++heard;
        MessageStream(1, 2) << "from the listener";
    });
    MessageStream(1, 2) << "first";
    MessageStream(1, 2) << "second";
    EXPECT_EQ(heard, 2);
}

TEST_F(Backend, SupportLinesAreCollectedOnlyForAListener) {
    LogBackend::registerBackend(false);
    MessageStream(1, 2) << "[SUPPORT] too early";
    listen();
    m_clock.setUtcTicks(0);
    MessageStream(0, 2) << "a [SUPPORT] tag";
    MessageStream(1, 2) << "no tag";
    m_clock.advanceMs(4 * kMinute);
    ASSERT_EQ(process(), 1u);
    EXPECT_TRUE(m_batches[0].ends_with(" [VERBOSE] a [SUPPORT] tag\n")) << m_batches[0];
    EXPECT_EQ(m_batches[0].find("too early"), std::string::npos);
    EXPECT_EQ(process(), 1u) << "nothing is left";
}

TEST_F(Backend, AFirstBatchWaitsForThreeQuietMinutesButNotForAnHour) {
    listen();
    MessageStream(1, 2) << "[SUPPORT] one";
    m_clock.advanceMs(3 * kMinute - 1);
    MessageStream(1, 2) << "[SUPPORT] two";
    m_clock.advanceMs(3 * kMinute);
    EXPECT_EQ(process(), 0u);
    m_clock.advanceMs(1);
    EXPECT_EQ(process(), 1u);
}

TEST_F(Backend, FurtherBatchesGoOutAnHourApartWhenThingsAreQuiet) {
    listen();
    MessageStream(1, 2) << "[SUPPORT] first";
    m_clock.advanceMs(4 * kMinute);
    ASSERT_EQ(process(), 1u);
    m_clock.advanceMs(50 * kMinute);
    MessageStream(1, 2) << "[SUPPORT] second";
    m_clock.advanceMs(10 * kMinute);
    EXPECT_EQ(process(), 1u) << "exactly an hour isn't over it";
    m_clock.advanceMs(1);
    EXPECT_EQ(process(), 2u);
}

TEST_F(Backend, ABatchThatIsHalfAnHourOldGoesOutWhateverComes) {
    listen();
    for (int i = 0; i < 30; ++i) {
        MessageStream(1, 2) << "[SUPPORT] again";
        m_clock.advanceMs(kMinute);
        EXPECT_EQ(process(), 0u);
    }
    m_clock.advanceMs(1);
    EXPECT_EQ(process(), 1u);
}

TEST_F(Backend, ABigBatchGoesOutAtOnce) {
    listen();
    const std::string line = "[SUPPORT]" + std::string(1000, 'x');
    for (int i = 0; i < 256; ++i) {
        MessageStream(1, 2) << line;
        EXPECT_EQ(process(), 0u) << i;
    }
    MessageStream(1, 2) << std::string(20'000, 'x') << "[SUPPORT]";
    EXPECT_EQ(process(), 1u);
    EXPECT_GT(m_batches[0].size(), 262'144u);
}

TEST_F(Backend, LinesOfManyThreadsArriveWholeAndInTheOrderOfEachThread) {
    constexpr int kThreads = 8;
    constexpr int kLines = 300;
    LogBackend::registerBackend(true);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < kLines; ++i) MessageStream(1, 2) << t << ' ' << i << ' ' << std::hex << t;
            logging::g_hideTimeInConsole = (t % 2) != 0; // hosts set the switches while others log
            LogBackend::processSupportMessages();
        });
    }
    for (std::thread& thread : threads) thread.join();
    logging::g_hideTimeInConsole = false;
    std::vector<int> next(kThreads, 0);
    for (const std::string& text : takeAll(1)) {
        const auto t = static_cast<size_t>(text[0] - '0');
        ASSERT_LT(t, next.size());
        EXPECT_EQ(text, std::to_string(t) + ' ' + std::to_string(next[t]) + ' ' + std::to_string(t));
        ++next[t];
    }
    EXPECT_EQ(next, std::vector<int>(kThreads, kLines));
}

TEST_F(Backend, MayComeAndGoWhileOthersLog) {
    std::atomic<bool> isDone = false;
    std::thread logger([&] {
        while (!isDone) MessageStream(0, 2) << "line";
    });
    for (int i = 0; i < 200; ++i) {
        LogBackend::registerBackend(i % 2 == 0);
        LogBackend::takeMessage(1);
        LogBackend::unregisterBackend();
    }
    isDone = true;
    logger.join();
    EXPECT_FALSE(LogBackend::takeMessage(1));
}
