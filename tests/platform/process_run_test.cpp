#include <qel/platform/process_run.h>
#include <qel/testing/machine.h>

#include <tests/support/environment.h>
#include <tests/support/scratch_folder.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iterator>

#include <sys/stat.h>
#include <sys/wait.h>

using namespace qel::platform;

using Arguments = std::vector<std::string>;
using qel::test::ScratchFolder;

constexpr RunOptions kWait{};
constexpr RunOptions kNoWait{.wait = false};

static RunResult runShell(const char* script, const std::string& argument,
                          const RunOptions& options = kWait) {
    return runProcess({"/bin/sh", "-c", script, argument}, options);
}

/// Returns what a program that nobody waits for writes into the pipe that its script receives as $0.
static std::string readUnwaited(const char* script) {
    const ScratchFolder folder;
    const std::string pipe = folder.path("pipe");
    if (mkfifo(pipe.c_str(), 0600) != 0 || !runShell(script, pipe, kNoWait).started) return "not started";
    std::ifstream stream(pipe);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(ProcessRun, ReportsTheExitStatusOr128PlusTheSignal) {
    EXPECT_EQ(runShell("exit 7", "").exitCode, 7);
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(runShell("kill -PIPE $$; exit 3", "").exitCode, 128 + SIGPIPE);
    EXPECT_EQ(readUnwaited("sh -c 'kill -PIPE $$; exit 3'; echo $? > \"$0\""),
              std::to_string(128 + SIGPIPE) + "\n");
    std::signal(SIGPIPE, before);
}

TEST(ProcessRun, ArgumentsArriveUnchangedWithoutAShell) {
    const ScratchFolder folder;
    const std::string hostile = "$(touch x) `touch x` ; \"'\\\n -rf *";
    runProcess({"/bin/sh", "-c", "printf %s \"$1\" > \"$0\"", folder.path("out"), hostile}, kWait);
    EXPECT_EQ(folder.read("out"), hostile);
}

TEST(ProcessRun, AProgramSeesItsThreeStreamsAndNoOtherDescriptor) {
    const ScratchFolder folder;
    std::FILE* inheritable = std::fopen(folder.write("open", "").c_str(), "r");
    const char* list = "exec ls /proc/self/fd > \"$0\""; // the list opens the folder as descriptor 3 itself
    runShell(list, folder.path("waited"));
    EXPECT_EQ(folder.read("waited"), "0\n1\n2\n3\n");
    EXPECT_EQ(readUnwaited(list), "0\n1\n2\n3\n");
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a program that nobody waits for must leave no zombie";
    EXPECT_EQ(errno, ECHILD);
    std::fclose(inheritable);
}

TEST(ProcessRun, ProgramsAreSearchedForInAbsoluteFoldersOfPath) {
    const ScratchFolder folder;
    const std::string tool = folder.write("bin/qel-tool", "#!/bin/sh\n");
    chmod(tool.c_str(), 0755);
    folder.write("bin/qel-text", "no program");
    folder.makeFolder("bin/qel-folder");
    const qel::test::EnvironmentVariable path("PATH", (":relative:/nowhere:" + folder.path("bin")).c_str());
    for (const std::string& name : {std::string("qel-tool"), tool}) EXPECT_EQ(findProgram(name), tool);
    for (const char* name : {"qel-text", "qel-folder", ""}) EXPECT_EQ(findProgram(name), "") << name;
}

// --- with root's rights; the start of programs is replaced ---

static std::vector<Arguments> g_runs;
static int g_exitCode = 0;

TEST(ElevatedRun, UsesTheFirstWayThatIsAvailable) {
    qel::seams::replaceRunProcess([](const Arguments& arguments, const RunOptions&) {
        g_runs.push_back(arguments);
        return RunResult{true, 0, g_exitCode};
    });
    const std::string program = findProgram("true");
    const ElevationMeans administrator{true, true, "/pkexec", "/sudo"},
        desktop{false, true, "/pkexec", "/sudo"}, noDesktop{false, false, "/pkexec", "/sudo"};
    const std::tuple<Arguments, ElevationMeans, int, std::vector<Arguments>, bool> cases[] = {
        {{"true"}, administrator, 0, {{"true"}}, true},
        {{"true", "x"}, desktop, 0, {{"/pkexec", program, "x"}}, true},
        {{"true"}, desktop, 126, {{"/pkexec", program}}, false}, // the user refuses
        {{"true", "-x"}, noDesktop, 0, {{"/sudo", "-n", "-v"}, {"/sudo", "-n", "--", program, "-x"}}, true},
        {{"true"}, noDesktop, 1, {{"/sudo", "-n", "-v"}}, false}, // sudo requires a password
        {{"true"}, {}, 0, {}, false},
        {{"-n"}, desktop, 0, {}, false}};
    for (const auto& [arguments, means, exitCode, runs, started] : cases) {
        g_runs.clear();
        g_exitCode = exitCode;
        EXPECT_EQ(runElevated(arguments, kWait, means).started, started);
        EXPECT_EQ(g_runs, runs);
    }
    qel::seams::replaceRunProcess(nullptr);
}
