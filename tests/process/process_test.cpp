// The life, streams and lines of children, which are shell scripts.
#include <tests/process/process_fixture.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <csignal>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qel::test {
namespace {

using namespace testing;

class ProcessLife : public ProcessFixture {};

TEST_F(ProcessLife, TheExitStatusIsThatOfTheChildOrItsSignal) {
    const Pointer process = runShell("exit 7");
    EXPECT_EQ(finish(*process), 7);
    EXPECT_FALSE(process->tick());
    EXPECT_TRUE(process->terminate(true));
    EXPECT_EQ(process->exitStatus(), 7);
    EXPECT_EQ(finish(*runShell("kill -SEGV $$")), 128 + SIGSEGV);
}

TEST_F(ProcessLife, TerminateKillsAChildThatIgnoresSignals) {
    for (const char* script :
         {"trap '' TERM INT HUP; echo up; while :; do read x; done", "echo up; kill -STOP $$"}) {
        const Pointer process = runShell(script);
        EXPECT_EQ(line(*process), "up");
        EXPECT_TRUE(process->tick());
        EXPECT_TRUE(process->terminate(true));
        EXPECT_FALSE(process->tick());
        EXPECT_EQ(process->exitStatus(), -1);
        EXPECT_EQ(kill(static_cast<pid_t>(process->getProcessId()), 0), -1); // it is not a zombie either
    }
}

TEST_F(ProcessLife, KilledChildrenEndBeforeTheSystem) {
    for (int i = 0; i < 20; ++i) runShell("cat"); // released and so killed at once
    Pointer later = runShell("cat");
    System::deinitialize();
    later.reset();
    EXPECT_FALSE(hasChildren()) << "without a System it is waited for";
}

TEST_F(ProcessLife, ABreakReachesTheWholeProcessGroup) {
    const Pointer process = runShell("trap 'echo outer' INT; sh -c 'trap \"echo inner; exit\" INT; echo up; "
                                     "while :; do sleep 0.1; done'");
    EXPECT_EQ(line(*process), "up");
    process->sendBreak();
    EXPECT_THAT((Set<std::string>{line(*process), line(*process)}), UnorderedElementsAre("inner", "outer"));
}

TEST_F(ProcessLife, ArgumentsArriveUnchanged) {
    const std::string hostile = " $(touch ran) `touch ran` \"'\\-rf * ";
    LogCapture capture;
    Process process;
    process.disableSmartPointers();
    ASSERT_TRUE(process.spawn("printf", {"printf", "<%s>\\n", hostile, "", "-n"}, nullptr, false));
    EXPECT_EQ(line(process), "<" + hostile + ">");
    EXPECT_EQ(line(process), "<>");
    EXPECT_EQ(line(process), "<-n>");
    capture.expect(0, "[PID:" + std::to_string(process.getProcessId()) +
                          "] started process 'printf <%s>\\n \"$(touch ran) `touch ran` \"'\\-rf *\"  -n'");
}

TEST_F(ProcessLife, AChildHasThreePipesAndDefaultSignals) {
    const ScratchFolder folder;
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    std::FILE* inheritable = std::fopen(folder.write("open", "").c_str(), "r");
    Process process;
    process.disableSmartPointers();
    // Descriptor 3 is the folder that lists the descriptors.
    const char* script = "pwd; ls /proc/self/fd | tr '\\n' ' '; echo; kill -PIPE $$; echo ignored";
    ASSERT_TRUE(process.spawn("/bin/sh", {"sh", "-c", script}, folder.path().c_str(), true));
    EXPECT_EQ(line(process), folder.path());
    EXPECT_EQ(line(process), "0 1 2 3 ");
    EXPECT_EQ(finish(process), 128 + SIGPIPE);
    std::fclose(inheritable);
    std::signal(SIGPIPE, before);
}

TEST_F(ProcessLife, AFailedStartIsLogged) {
    const ScratchFolder folder;
    const std::string broken = folder.write("broken", "\x01\x02 no code");
    chmod(broken.c_str(), 0755);
    const std::pair<std::string, int> cases[] = {
        {folder.path("missing"), ENOENT}, {folder.write("no program", "text"), EACCES}, {broken, ENOEXEC}};
    const int descriptors = countDescriptors();
    for (const auto& [path, code] : cases) {
        LogCapture capture;
        EXPECT_FALSE(makeObject<Process>()->spawn(path, {path}, nullptr, true));
        capture.expect(3, "can not start subprocess " + path + " error: " + platform::errorText(code));
    }
    EXPECT_EQ(countDescriptors(), descriptors);
}

TEST_F(ProcessLife, AChildCollectedByOtherCodeIsNotKilled) {
    const Pointer process = runShell("exit 3");
    const Pointer terminated = runShell("exit 3");
    for (const Pointer& child : {process, terminated})
        ASSERT_EQ(waitpid(static_cast<pid_t>(child->getProcessId()), nullptr, 0), child->getProcessId());
    LogCapture capture;
    EXPECT_FALSE(terminated->terminate(true));
    EXPECT_EQ(terminated->errorText(), platform::errorText(ECHILD));
    EXPECT_FALSE(process->tick());
    capture.expect(3, "Failed to retrieve process exit code, trying to terminate it");
    capture.expect(3, "Unable to terminate invalid state process");
    EXPECT_EQ(process->errorText(), platform::errorText(ECHILD));
    EXPECT_EQ(process->exitStatus(), -1);
}

// --- streams ---------------------------------------------------------------------------------------------

class ProcessStreams : public ProcessFixture {};

TEST_F(ProcessStreams, LinesEndAtLineFeedsReturnsAndTheEnd) {
    const Pointer process = runShell("printf 'one\\ntwo\\r\\nthree\\n\\nlast'; printf 'bad\\n' >&2");
    EXPECT_EQ(finish(*process), 0);
    for (const char* expected : {"one", "two", "", "three", ""}) EXPECT_EQ(line(*process), expected);
    String text = "untouched";
    EXPECT_FALSE(process->readLine(text));
    EXPECT_FALSE(process->isEOF());
    process->terminate(false);
    EXPECT_FALSE(process->isEOF());
    EXPECT_TRUE(process->readLine(text));
    EXPECT_EQ(text, "last");
    EXPECT_TRUE(process->isEOF());
    EXPECT_FALSE(process->isErrEOF());
    EXPECT_EQ(errorLine(*process), "bad");
    EXPECT_TRUE(process->isErrEOF());
    EXPECT_FALSE(process->readLine(text));
}

TEST_F(ProcessStreams, AChildThatReadsLateReceivesEverything) {
    const String megabyte(1 << 20, 'x');
    const std::string size = std::to_string(5 * (megabyte.size() + 1));
    const Pointer process = runShell("echo up; kill -STOP $$; head -c " + size + " | md5sum");
    EXPECT_EQ(line(*process), "up");
    for (int i = 0; i < 5; ++i) process->writeLine(megabyte);
    kill(static_cast<pid_t>(process->getProcessId()), SIGCONT);
    EXPECT_EQ(line(*process), "35dd7867b701b2a21d5bb0a1dd5b84d9  -");
}

TEST_F(ProcessStreams, AStreamThatTheChildClosedBlocksNeitherSide) {
    const Pointer process = runShell("exec 0<&- 1>&-; echo up >&2; while :; do sleep 9; done");
    EXPECT_EQ(errorLine(*process), "up");
    for (int i = 0; i < 3; ++i) process->writeLine(String(1 << 20, 'x'));
    EXPECT_TRUE(process->tick());
    EXPECT_FALSE(process->error());
    EXPECT_FALSE(process->isEOF());
}

} // namespace
} // namespace qel::test
