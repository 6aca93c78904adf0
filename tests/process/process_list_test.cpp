// Processes that are found by the name of their program: a copy of `cat` under a name that is used only here.
#include <tests/process/process_fixture.h>

#include <csignal>

#include <unistd.h>

namespace qel::test {
namespace {

class ProcessesByName : public ProcessFixture {
protected:
    Pointer start() const {
        Pointer process(new Process());
        EXPECT_TRUE(process->spawn(program, {program}, nullptr, true));
        return process;
    }

    const ScratchFolder folder;
    const std::string name = "qel-" + std::to_string(getpid());
    const std::string program = folder.path(name);
    LogCapture capture;

private:
    void SetUp() override {
        ProcessFixture::SetUp();
        std::filesystem::copy_file("/bin/cat", program);
    }
};

TEST_F(ProcessesByName, AllAreKilledExceptThoseExcluded) {
    const Pointer killed = start();
    const Pointer kept = start();
    const Set<int64> keptIds{kept->getProcessId()};
    EXPECT_EQ(Process::getAllProcessId(name), (Set<int64>{killed->getProcessId(), kept->getProcessId()}));
    EXPECT_EQ(Process::terminateProcessesByName(("Q" + name.substr(1)).c_str(), keptIds, 60'000), 1);
    capture.expect(1, "terminating process '" + name + "', cmdline=" + program);
    EXPECT_EQ(finish(*killed), 128 + SIGKILL);
    EXPECT_TRUE(kept->tick());
    EXPECT_FALSE(Process::waitForProcessesToTerminate({name}, 0));
    kept->terminate(true);
    EXPECT_TRUE(Process::waitForProcessesToTerminate({name}, 0));
}

} // namespace
} // namespace qel::test
