#include <tests/support/log_capture.h>

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/log/message_stream.h>

#include <gtest/gtest.h>

#include <ostream>

namespace qel::test {

namespace {

constexpr int kWarningLevel = 2;

struct RecordedLine {
    LogLine line;
    bool isClaimed = false;
};

Mutex g_mutex;
std::vector<RecordedLine> g_lines QEL_GUARDED_BY(g_mutex);

std::string withoutPrefix(std::string_view text, int level) {
    constexpr std::string_view kPrefixes[] = {"[VERBOSE] ", "", "[WARNING] ", "[ERROR] ", "[ASSERT] "};
    if (level >= 0 && level < 5 && text.starts_with(kPrefixes[level]))
        text.remove_prefix(kPrefixes[level].size());
    return std::string(text);
}

void record(const logging::ConsoleLine& line) {
    const MutexLock lock(g_mutex);
    g_lines.push_back({{line.level, line.channels, withoutPrefix(line.text, line.level)}});
}

/// Clears the lines before each test and reports a failure for each warning or error that the test left
/// unclaimed.
class LogGuard : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override {
        const MutexLock lock(g_mutex);
        g_lines.clear();
    }

    void OnTestEnd(const testing::TestInfo&) override {
        const MutexLock lock(g_mutex);
        for (const RecordedLine& recorded : g_lines) {
            if (recorded.isClaimed || recorded.line.level < kWarningLevel) continue;
            ADD_FAILURE() << "unexpected log line: " << recorded.line;
        }
    }
};

} // namespace

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
    return out << "level " << line.level << ", channels " << line.channels << ": " << line.text;
}

LogCapture::LogCapture() {
    const MutexLock lock(g_mutex);
    m_begin = g_lines.size();
}

void LogCapture::expect(int level, const std::string& text) {
    const MutexLock lock(g_mutex);
    std::string others;
    for (std::size_t i = m_begin; i < g_lines.size(); ++i) {
        RecordedLine& recorded = g_lines[i];
        if (recorded.isClaimed) continue;
        if (recorded.line.level == level && recorded.line.text == text) {
            recorded.isClaimed = true;
            return;
        }
        others += "\n  " + testing::PrintToString(recorded.line);
    }
    ADD_FAILURE() << "not logged at level " << level << ": " << text << "\nbut unclaimed:" << others;
}

std::vector<LogLine> LogCapture::take() {
    const MutexLock lock(g_mutex);
    std::vector<LogLine> taken;
    for (std::size_t i = m_begin; i < g_lines.size(); ++i) {
        if (!g_lines[i].isClaimed) taken.push_back(g_lines[i].line);
        g_lines[i].isClaimed = true;
    }
    return taken;
}

void installLogGuard() {
    logging::setConsoleWriter(record);
    testing::UnitTest::GetInstance()->listeners().Append(new LogGuard); // the list owns it
}

} // namespace qel::test
