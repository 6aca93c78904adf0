#include <qel/platform/process_run.h>

#include <tests/support/environment.h>
#include <tests/support/scratch_folder.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>

#include <sys/stat.h>
#include <sys/wait.h>

namespace qel::platform {
namespace {

using Arguments = std::vector<std::string>;
using test::EnvironmentVariable;
using test::ScratchFolder;

constexpr RunOptions kWait{};
constexpr RunOptions kNoWait{.wait = false};

RunResult runShell(const std::string& script, const std::string& argument,
                   const RunOptions& options = kWait) {
    return runProcess({"/bin/sh", "-c", script, argument}, options);
}

/// A pipe with a name. A test that reads it waits for the program that writes it.
class NamedPipe {
public:
    NamedPipe() { EXPECT_EQ(mkfifo(m_folder.path("pipe").c_str(), 0600), 0); }

    std::string path() const { return m_folder.path("pipe"); }
    std::string read() const {
        std::ifstream stream(path());
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    ScratchFolder m_folder;
};

TEST(ProcessRun, GivesTheExitStatusOr128AndTheNumberOfTheSignal) {
    EXPECT_EQ(runShell("exit 7", "").exitCode, 7);
    EXPECT_EQ(runShell("kill -KILL $$", "").exitCode, 128 + SIGKILL);
    EXPECT_TRUE(runProcess({"true"}, kWait).started);
}

TEST(ProcessRun, TellsWhyAProgramCouldNotBeStarted) {
    const ScratchFolder folder;
    const std::string noProgram = folder.write("no-program", "\x01\x02 not a program");
    chmod(noProgram.c_str(), 0755);
    for (const RunOptions& options : {kWait, kNoWait}) {
        EXPECT_FALSE(runProcess({}, options).started);
        EXPECT_EQ(runProcess({folder.path("missing")}, options).errorCode, ENOENT);
        EXPECT_EQ(runProcess({"qel-no-such-program"}, options).errorCode, ENOENT);
        EXPECT_EQ(runProcess({noProgram}, options).errorCode, ENOEXEC);
    }
}

TEST(ProcessRun, ArgumentsArriveAsTheyAreWithoutAShell) {
    const ScratchFolder folder;
    const std::string hostile = "$(touch " + folder.path("ran") + ") `touch x` ; \"'\\\n -rf *";
    ASSERT_EQ(runProcess({"/bin/sh", "-c", "printf %s \"$1\" > \"$0\"", folder.path("out"), hostile}, kWait)
                  .exitCode,
              0);
    EXPECT_EQ(folder.read("out"), hostile);
    EXPECT_FALSE(folder.has("ran"));
}

TEST(ProcessRun, AProgramSeesItsThreeStreamsAndNoOtherDescriptor) {
    const NamedPipe pipe;
    const ScratchFolder folder;
    std::FILE* inheritable = std::fopen(folder.write("open", "").c_str(), "r");
    const char* list = "exec ls /proc/self/fd > \"$0\""; // opens the folder as descriptor 3 itself
    runShell(list, folder.path("waited"));
    EXPECT_EQ(folder.read("waited"), "0\n1\n2\n3\n");
    ASSERT_TRUE(runShell(list, pipe.path(), kNoWait).started);
    EXPECT_EQ(pipe.read(), "0\n1\n2\n3\n");
    std::fclose(inheritable);
}

TEST(ProcessRun, AProgramStartsWithSignalsAtTheirDefaults) {
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(runShell("kill -PIPE $$; exit 3", "").exitCode, 128 + SIGPIPE);
    const NamedPipe pipe;
    runShell("sh -c 'kill -PIPE $$; exit 3'; echo $? > \"$0\"", pipe.path(), kNoWait);
    EXPECT_EQ(pipe.read(), std::to_string(128 + SIGPIPE) + "\n");
    std::signal(SIGPIPE, before);
}

TEST(ProcessRun, WhatNobodyWaitsForLeavesNoZombie) {
    const NamedPipe pipe;
    ASSERT_TRUE(runShell("echo done > \"$0\"", pipe.path(), kNoWait).started);
    EXPECT_EQ(pipe.read(), "done\n");
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(ProcessRun, ADetachedProgramHasItsOwnSessionAndNoStreams) {
    const NamedPipe pipe;
    const char* script = "{ cut -d' ' -f6 /proc/$$/stat; echo $$; readlink /proc/$$/fd/2; } > \"$0\"";
    ASSERT_TRUE(runShell(script, pipe.path(), {.wait = false, .detached = true}).started);
    std::istringstream lines(pipe.read());
    std::string session, process, output;
    lines >> session >> process >> output;
    EXPECT_EQ(session, process);
    EXPECT_EQ(output, "/dev/null");
}

TEST(ProcessRun, ProgramsAreLookedForInAbsoluteFoldersOfPath) {
    const ScratchFolder folder;
    const std::string tool = folder.write("bin/qel-tool", "#!/bin/sh\nexit 5\n");
    chmod(tool.c_str(), 0755);
    folder.write("bin/qel-text", "no program");
    folder.makeFolder("bin/qel-folder");
    const EnvironmentVariable path("PATH", (":relative:/nowhere:" + folder.path("bin")).c_str());
    EXPECT_EQ(findProgram("qel-tool"), tool);
    EXPECT_EQ(findProgram(tool), tool);
    EXPECT_EQ(findProgram("qel-text"), "");
    EXPECT_EQ(findProgram("qel-folder"), "");
    EXPECT_EQ(findProgram(""), "");
    EXPECT_EQ(runProcess({"qel-tool"}, kWait).exitCode, 5);
}

// --- with root's rights; the machine's own start of programs is replaced ---

std::vector<Arguments> g_runs;
int g_exitCode = 0;

class ElevatedRun : public testing::Test {
protected:
    void SetUp() override {
        replaceRunProcess([](const Arguments& arguments, const RunOptions&) {
            g_runs.push_back(arguments);
            return RunResult{true, 0, g_exitCode};
        });
    }
    void TearDown() override { replaceRunProcess(nullptr); }
};

TEST_F(ElevatedRun, GoesTheFirstWayThatIsOpen) {
    const std::string program = findProgram("true");
    const ElevationMeans administrator{true, true, "/pkexec", "/sudo"},
        desktop{false, true, "/pkexec", "/sudo"}, noDesktop{false, false, "/pkexec", "/sudo"};
    struct Case {
        Arguments arguments;
        ElevationMeans means;
        int exitCode;
        std::vector<Arguments> runs;
        bool started;
    };
    const Case cases[] = {
        {{"true", "x"}, administrator, 0, {{"true", "x"}}, true},
        {{"true", "x"}, desktop, 0, {{"/pkexec", program, "x"}}, true},
        {{"true"}, desktop, 126, {{"/pkexec", program}}, false}, // the user refuses
        {{"true", "-x"}, noDesktop, 0, {{"/sudo", "-n", "-v"}, {"/sudo", "-n", "--", program, "-x"}}, true},
        {{"true"}, noDesktop, 1, {{"/sudo", "-n", "-v"}}, false}, // it wants a password
        {{"true"}, {}, 0, {}, false},
        {{"-n"}, desktop, 0, {}, false},
        {{}, desktop, 0, {}, false},
    };
    for (const Case& test : cases) {
        g_runs.clear();
        g_exitCode = test.exitCode;
        EXPECT_EQ(runElevated(test.arguments, kWait, test.means).started, test.started);
        EXPECT_EQ(g_runs, test.runs);
    }
}

} // namespace
} // namespace qel::platform
