// Tests scripts that run programs: what they receive, what is logged, and how they end early.
#include "script_fixture.h"

#include <tests/support/scratch_folder.h>

#include <gmock/gmock.h>

#include <thread>

namespace {

using namespace testing;
using qel::test::LogCapture;
using qel::test::LogLine;

class ScriptPrograms : public qel::test::ScriptFixture {
protected:
    void passUntil(const std::function<bool()>& condition) {
        for (; !condition(); std::this_thread::yield()) pass();
    }

    /// Runs the expression @p call in a script thread to its end. @return its value as a string.
    std::string valueOf(const std::string& call) {
        start("::result <- (" + call + ")");
        passUntil([this] { return !vm().threadsActive(); });
        return text("result");
    }

    /// Returns the logged lines except those about the start of the program.
    std::vector<LogLine> output() {
        std::vector<LogLine> lines = capture.take();
        std::erase_if(lines, [](const LogLine& line) { return line.text.starts_with("[PID:"); });
        return lines;
    }

    LogCapture capture;
};

constexpr const char* kTalks = "\"echo '  out  '; echo; echo err >&2; exit 3\"";

TEST_F(ScriptPrograms, ExitStatusIsReturnedAndAllLinesAreLogged) {
    const qel::test::ScratchFolder folder;
    EXPECT_EQ(valueOf(std::string("std.system(\"sh\", \"-c\", ") + kTalks + ")"), "3");
    EXPECT_THAT(output(),
                UnorderedElementsAre(LogLine{1, 2, "[PROCESS] out"}, LogLine{3, 2, "[PROCESS] err"}));
    const std::string here = "std.system_ext(\"" + folder.path() + "\", \"sh\", \"-c\", ";
    EXPECT_EQ(valueOf(here + "\"seq 3000; pwd; exit $0\", 5)"), "5");
    const std::vector<LogLine> lines = output();
    ASSERT_EQ(lines.size(), 3001u);
    EXPECT_EQ(lines.back().text, "[PROCESS] " + folder.path());
    EXPECT_EQ(valueOf("std.system(\"sh\", \"-c\", \"yes '' & exit 4\")"), "4") << "its child keeps writing";
}

TEST_F(ScriptPrograms, AbortedQueueKillsTheProgram) {
    start("::queue <- std.queue(); queue.push(function() {"
          "  ::result <- std.system(\"sh\", \"-c\", \"echo up; read x\") }); queue.wait()");
    passUntil([this] { return Matches(Contains(LogLine{1, 2, "[PROCESS] up"}))(capture.take()); });
    start("queue.abort()");
    passUntil([this] { return !vm().threadsActive(); });
    EXPECT_EQ(text("result"), "-1");
}

} // namespace
