#include <qel/foundation/log/log_backend.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/clock.h>

#include <gtest/gtest.h>

using namespace qel;
using logging::MessageStream;

namespace {

/// Lets lines go to standard output and takes them there; restores everything at the end.
class Console : public testing::Test {
protected:
    void SetUp() override {
        Clock::install(&m_clock);
        m_writer = logging::setConsoleWriter(nullptr);
        testing::internal::CaptureStdout();
    }
    void TearDown() override {
        testing::internal::GetCapturedStdout();
        logging::setConsoleWriter(m_writer);
        LogBackend::unregisterBackend();
        logging::g_hideVerboseOutputInConsole = false;
        logging::g_hideTimeInConsole = false;
        Clock::install(nullptr);
    }
    /// What was written since the last call.
    std::string written() {
        std::string text = testing::internal::GetCapturedStdout();
        testing::internal::CaptureStdout();
        return text;
    }

    ManualClock m_clock;
    logging::ConsoleWriter m_writer = nullptr;
};

} // namespace

TEST_F(Console, ShowsThePrefixOfEachLevel) {
    for (int level = 0; level <= 4; ++level) MessageStream(level, 2) << "text";
    EXPECT_EQ(written(), "[VERBOSE] text\ntext\n[WARNING] text\n[ERROR] text\n[ASSERT] text\n");
}

TEST_F(Console, ShowsTheTimeSinceTheBackendsStartOnlyWithABackend) {
    m_clock.advanceMs((int64{1} << 32) - 500); // the milliseconds will wrap
    MessageStream(1, 2) << "before";
    LogBackend::registerBackend(false);
    m_clock.advanceMs(1042);
    LogBackend::registerBackend(true); // again: keeps the start
    MessageStream(2, 2) << "technical";
    m_clock.advanceMs(99'000'000);
    MessageStream(1, 3) << "customer";
    logging::g_hideTimeInConsole = true;
    MessageStream(1, 3) << "timeless";
    EXPECT_EQ(written(), "before\n[  1.042] [WARNING] technical\n<99001.042> customer\ntimeless\n");
}

TEST_F(Console, HidesVerboseLinesButTheBackendHearsThem) {
    logging::g_hideVerboseOutputInConsole = true;
    LogBackend::registerBackend(false);
    logging::g_hideTimeInConsole = true;
    std::string heard;
    LogBackend::getSignalNewLogMessage().connect(
        [&](int level, const char* text) { heard += std::to_string(level) + text + ";"; });
    MessageStream(0, 2) << "by level";
    MessageStream(1, 2) << "by [VERBOSE] tag";
    MessageStream(1, 2) << "shown";
    EXPECT_EQ(written(), "shown\n");
    EXPECT_EQ(heard, "0[VERBOSE] by level;1by [VERBOSE] tag;1shown;");
}

TEST_F(Console, AHostMayDrawTheLinesItself) {
    static std::string drawn;
    LogBackend::registerBackend(false);
    logging::setConsoleWriter([](const logging::ConsoleLine& line) {
        drawn = std::to_string(line.level) + "/" + std::to_string(line.channels) + "/" +
                std::string(line.time) + "/" + std::string(line.text);
        MessageStream(3, 2) << "a line from the writer is dropped";
    });
    MessageStream(3, 3) << "text";
    EXPECT_EQ(drawn, "3/3/<  0.000> /[ERROR] text");
    EXPECT_EQ(written(), "");
}
