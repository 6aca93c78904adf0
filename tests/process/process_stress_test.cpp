// Children and workers by the hundred, killed at any moment: what came of them is whole, and nothing stays.
// A failure prints its seed; --gtest_random_seed tries other moments than the usual ones.
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

/// Lines of which every third one is a packet, and one needs more room than a queue has at first.
std::string makeText(std::mt19937& random) {
    std::string lines;
    for (int i = 0; i < kLines; ++i) {
        const std::string text(i == 28 ? 100'000 : random() % 1'000, static_cast<char>('a' + random() % 26));
        lines += (i % 3 == 0 ? std::string(makePacket(i)->convertToBase16String()) : text) + "\n";
    }
    return lines;
}

/// What has come of a child that copies a file to both its outputs.
struct Output {
    void take(Process& child) {
        for (String line; child.readLine(line);) out += line + "\n";
        for (String line; child.readErrLine(line);) errors += line + "\n";
    }
    bool isAllOf(const std::string& text) const { return out == text && errors == text; }
    /// Whether each stream is as it was written, perhaps without its end.
    bool isBeginningOf(const std::string& text) const {
        return text.starts_with(out.substr(0, out.size() - !out.empty())) &&
               text.starts_with(errors.substr(0, errors.size() - !errors.empty()));
    }

    std::string out, errors;
};

class ProcessStress : public ProcessFixture {};

/// Runs @p work, which tells whether all went well, on several threads; expects that no child and no
/// descriptor stays.
void stress(const std::function<bool(std::mt19937&)>& work) {
    const unsigned seed = 1 + 1000 * static_cast<unsigned>(GTEST_FLAG_GET(random_seed));
    const int descriptors = countDescriptors();
    std::atomic<int> good{0};
    onThreads(kThreads, [&](int thread) {
        std::mt19937 random(seed + thread);
        good += work(random);
    });
    waitUntil([] {
        internal::collectKilledChildren();
        return !hasChildren();
    });
    EXPECT_EQ(countDescriptors(), descriptors);
    EXPECT_EQ(good, kThreads) << "seed " << seed;
}

TEST_F(ProcessStress, AThousandChildrenOfWhichSomeAreKilledLoseAndTearNoLine) {
    stress([](std::mt19937& random) {
        const ScratchFolder folder;
        const std::string text = makeText(random);
        const std::string path = folder.write("text", text);
        bool isGood = true;
        for (int i = 0; i < kChildrenOfEach; ++i) {
            const Pointer child = runShell("exec tee /dev/stderr < \"$0\"", path);
            Output output;
            if (random() % 4 == 0) {
                for (unsigned left = random() % 200; left != 0; --left) output.take(*child);
                if (random() % 2 == 0) child->terminate(random() % 2 == 0); // else the destructor does it
                output.take(*child);
                isGood = isGood && output.isBeginningOf(text);
            } else {
                while (child->tick()) output.take(*child);
                output.take(*child);
                isGood = isGood && output.isAllOf(text) && child->exitStatus() == 0;
            }
        }
        return isGood;
    });
}

TEST_F(ProcessStress, AHundredKilledWorkersComeBackAndEachPacketIsAnsweredOnceOrReportedLost) {
    LogCapture capture;
    stress([](std::mt19937& random) {
        Supervisor supervisor("/bin/cat");
        supervisor.start(); // each sleep of its loop moves the clock on
        for (int i = 1; i <= kKillsOfEach; ++i) {
            waitUntil([&] { return supervisor.started == i; });
            const int count = static_cast<int>(random() % 100);
            const size_t enough = supervisor.received().size() + random() % (count + 1);
            for (int k = 0; k < count; ++k) supervisor.enqueue(100 * i + k);
            waitUntil([&] { return supervisor.received().size() >= enough; });
            const unsigned way = random() % 3; // killed, hanging, or just not wanted any more
            if (way < 2) kill(static_cast<pid_t>(supervisor.workerId), way == 0 ? SIGKILL : SIGSTOP);
            if (way > 0) supervisor.restartWorker();
        }
        std::vector<int64> received;
        waitUntil([&] {
            received = supervisor.received();
            return !received.empty() && received.back() == kKillsOfEach + 1;
        });
        const std::set<int64> once(received.begin(), received.end());
        return once.size() == received.size() && *once.begin() > 0;
    });
    for (int i = 0; i < kThreads * kKillsOfEach; ++i) capture.expect(2, kQuit);
}

} // namespace
} // namespace qel::test
