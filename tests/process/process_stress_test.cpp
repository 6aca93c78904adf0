// Hundreds of children and workers that are killed at random times. Their output must be intact, and no
// process or descriptor may be left. A failure prints its seed; --gtest_random_seed selects other times.
#include <tests/process/counting_supervisor.h>
#include <tests/support/threads.h>

#include <csignal>
#include <random>
#include <set>

namespace qel::test {
namespace {

constexpr int kThreads = 4;
constexpr int kChildrenOfEach = 250;
constexpr int kKillsOfEach = 25;
constexpr int kLines = 30;

/// Returns lines of which every third is a packet, and one exceeds the initial capacity of a queue.
std::string makeText(std::mt19937& random) {
    std::string lines;
    for (int i = 0; i < kLines; ++i) {
        const std::string text(i == 28 ? 100'000 : random() % 1'000, static_cast<char>('a' + random() % 26));
        lines += (i % 3 == 0 ? std::string(makePacket(i)->convertToBase16String()) : text) + "\n";
    }
    return lines;
}

/// The output of a child that copies a file to both its outputs.
struct Output {
    void take(Process& child) {
        for (String line; child.readLine(line);) out += line + "\n";
        for (String line; child.readErrLine(line);) errors += line + "\n";
    }
    /// Expects that each stream is a beginning of what was written.
    void expectBeginningOf(const std::string& text) const {
        EXPECT_TRUE(text.starts_with(out.substr(0, out.size() - !out.empty())));
        EXPECT_TRUE(text.starts_with(errors.substr(0, errors.size() - !errors.empty())));
    }

    std::string out, errors;
};

class ProcessStress : public ProcessFixture {};

/// Runs @p work on several threads, and expects that no child and no descriptor is left.
void stress(const std::function<void(std::mt19937&)>& work) {
    const unsigned seed = 1 + 1000 * static_cast<unsigned>(GTEST_FLAG_GET(random_seed));
    const int descriptors = countDescriptors();
    onThreads(kThreads, [&](int thread) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed + thread);
        work(random);
    });
    waitUntil([] {
        internal::collectKilledChildren();
        return !hasChildren();
    });
    EXPECT_EQ(countDescriptors(), descriptors);
}

TEST_F(ProcessStress, KilledChildrenLoseAndTearNoLine) {
    stress([](std::mt19937& random) {
        const ScratchFolder folder;
        const std::string text = makeText(random);
        const std::string path = folder.write("text", text);
        for (int i = 0; i < kChildrenOfEach; ++i) {
            const Pointer child = runShell("exec tee /dev/stderr < \"$0\"", path);
            Output output;
            if (random() % 4 == 0) {
                for (unsigned left = random() % 200; left != 0; --left) output.take(*child);
                if (random() % 2 == 0)
                    child->terminate(random() % 2 == 0); // otherwise the destructor does it
                output.take(*child);
                output.expectBeginningOf(text);
            } else {
                while (child->tick()) output.take(*child);
                output.take(*child);
                EXPECT_TRUE(output.out == text);
                EXPECT_TRUE(output.errors == text);
                EXPECT_EQ(child->exitStatus(), 0);
            }
        }
    });
}

TEST_F(ProcessStress, KilledWorkersAreReplacedWithoutLosingPackets) {
    LogCapture capture;
    stress([](std::mt19937& random) {
        Supervisor supervisor("/bin/cat");
        supervisor.start(); // each sleep of its loop advances the clock
        for (int i = 1; i <= kKillsOfEach; ++i) {
            waitUntil([&] { return supervisor.started == i; });
            const int count = static_cast<int>(random() % 100);
            const size_t enough = supervisor.received().size() + random() % (count + 1);
            for (int k = 0; k < count; ++k) supervisor.enqueue(100 * i + k);
            waitUntil([&] { return supervisor.received().size() >= enough; });
            const unsigned way = random() % 3; // killed, suspended, or asked to end
            if (way < 2) kill(static_cast<pid_t>(supervisor.workerId), way == 0 ? SIGKILL : SIGSTOP);
            if (way > 0) supervisor.restartWorker();
        }
        std::vector<int64> received;
        waitUntil([&] {
            received = supervisor.received();
            return !received.empty() && received.back() == kKillsOfEach + 1;
        });
        const std::set<int64> once(received.begin(), received.end());
        EXPECT_EQ(once.size(), received.size());
        EXPECT_GT(*once.begin(), 0);
    });
    for (int i = 0; i < kThreads * kKillsOfEach; ++i) capture.expect(2, kQuit);
}

} // namespace
} // namespace qel::test
