// Children and workers by the hundred, killed at any moment: what came of them is whole, and nothing stays.
// A failure prints its seed; --gtest_random_seed tries other moments than the usual ones.
#include <tests/process/process_fixture.h>

#include <qel/process/async_supervisor.h>
#include <qel/process/process_protocol.h>
#include <tests/support/threads.h>

#include <csignal>
#include <random>
#include <set>
#include <sstream>

namespace qel::test {
namespace {

constexpr int kThreads = 4;
constexpr int kChildrenOfEach = 250;
constexpr int kKillsOfEach = 25;

SmartPointer<Packet> makePacket(int64 index, const std::string& text) {
    const SmartPointer<Packet> packet(new Packet(ProcessProtocol::PluginsHashes, 0));
    packet->setInteger("index", index);
    packet->setString("startupScript", text.c_str());
    return packet;
}

/// Lines of which every third one is a packet, and one needs more room than a queue has at first.
std::string makeText(std::mt19937& random) {
    std::string lines;
    for (size_t i = 0; i < 30; ++i) {
        const std::string text(i == 27 ? 100'000 : random() % 1'000, static_cast<char>('a' + random() % 26));
        lines += (i % 3 == 0 ? std::string(makePacket(i, text)->convertToBase16String()) : text) + "\n";
    }
    return lines;
}

/// A child that copies a file, which holds a text, to both its outputs.
class Copier : public Process {
public:
    Copier(const std::string& path, const std::string& text) : m_out(text), m_errors(text) {
        disableSmartPointers();
        spawn("/bin/sh", {"sh", "-c", "exec tee /dev/stderr < \"$0\"", path}, nullptr, true);
    }
    /// Takes what has come. @return whether it is what was written; a killed child's last line may be cut.
    bool take() { return takeFrom(&Process::readLine, m_out) && takeFrom(&Process::readErrLine, m_errors); }
    bool tookAll() { return m_out.peek() == EOF && m_errors.peek() == EOF; }

private:
    bool takeFrom(bool (Process::*read)(String&), std::istream& expected) {
        for (String line, whole; (this->*read)(line);) {
            if (!std::getline(expected, whole)) return false;
            const bool isPacket = Packet::createFromBase16String(line) != nullptr;
            if (isPacket != (line == whole && line.starts_with("PKTB16"))) return false;
            if (line != whole && !(exitStatus() == -1 && whole.starts_with(line))) return false;
        }
        return true;
    }

    std::istringstream m_out;
    std::istringstream m_errors;
};

/// Knows which packets its workers, which send every one back, have not answered yet.
class Accountant : public AsyncSupervisor {
public:
    explicit Accountant(std::atomic<int>& faults) : AsyncSupervisor("/bin/cat"), m_faults(faults) {
        disableSmartPointers();
    }
    ~Accountant() override { terminate(); }
    using AsyncSupervisor::restartWorker;
    using AsyncSupervisor::start;

    void send(int64 index) {
        const MutexLock lock(m_mutex);
        m_open.insert(index);
        enqueuePacket(makePacket(index, textOf(index)).get());
    }
    size_t countOpen() {
        const MutexLock lock(m_mutex);
        return m_open.size();
    }

    std::atomic<int> workers{0};
    std::atomic<int64> workerId{0};

private:
    static std::string textOf(int64 index) { return std::string(index * 7919 % 5000, 'a' + index % 26); }

    void onSubprocessStarted() override {
        workerId = getProcess()->getProcessId();
        ++workers;
    }
    void onSubprocessQuit() override {
        const MutexLock lock(m_mutex);
        m_open.clear(); // an answer that comes now is a fault
    }
    void onPacket(Packet* packet) override {
        const MutexLock lock(m_mutex);
        const int64 index = packet->fit(ProcessProtocol::PluginsHashes) ? packet->getInteger("index") : -1;
        m_faults += m_open.erase(index) != 1 || packet->getString("startupScript") != textOf(index);
    }

    std::atomic<int>& m_faults;
    Mutex m_mutex;
    std::set<int64> m_open QEL_GUARDED_BY(m_mutex);
};

class ProcessStress : public ProcessFixture {};

/// Runs @p work, which counts faults, on several threads; expects that no child and no descriptor stays.
void stress(const std::function<void(std::mt19937&, std::atomic<int>&)>& work) {
    const unsigned seed = 1 + 1000 * static_cast<unsigned>(GTEST_FLAG_GET(random_seed));
    const int descriptors = countDescriptors();
    std::atomic<int> faults{0};
    onThreads(kThreads, [&](int thread) {
        std::mt19937 random(seed + thread);
        work(random, faults);
    });
    waitUntilChildrenAreGone();
    EXPECT_EQ(countDescriptors(), descriptors);
    EXPECT_EQ(faults, 0) << "seed " << seed;
}

TEST_F(ProcessStress, AThousandChildrenOfWhichSomeAreKilledLoseAndTearNoLine) {
    stress([](std::mt19937& random, std::atomic<int>& faults) {
        const ScratchFolder folder;
        const std::string text = makeText(random);
        const std::string path = folder.write("text", text);
        for (int i = 0; i < kChildrenOfEach; ++i) {
            Copier child(path, text);
            if (random() % 4 == 0) {
                for (unsigned left = random() % 200; left != 0; --left) faults += !child.take();
                if (random() % 2 == 0) faults += !child.terminate(random() % 2 == 0); // else the destructor
                faults += !child.take();
            } else {
                while (child.tick()) faults += !child.take();
                faults += !child.take() || !child.tookAll() || child.exitStatus() != 0;
            }
        }
    });
}

TEST_F(ProcessStress, AHundredKilledWorkersComeBackAndEachPacketIsAnsweredOnceOrReportedLost) {
    LogCapture capture;
    stress([](std::mt19937& random, std::atomic<int>& faults) {
        Accountant accountant(faults);
        accountant.start(); // each sleep of its loop moves the clock on
        for (int i = 1;; ++i) {
            waitUntil([&] { return accountant.workers == i; });
            const int count = 1 + static_cast<int>(random() % 100);
            for (int k = 0; k < count; ++k) accountant.send(100 * i + k);
            const size_t unanswered = i > kKillsOfEach ? 0 : random() % (count + 1);
            waitUntil([&] { return accountant.countOpen() <= unanswered; });
            if (i > kKillsOfEach) return;
            const unsigned way = random() % 3; // killed, hanging, or just not wanted any more
            if (way < 2) kill(static_cast<pid_t>(accountant.workerId), way == 0 ? SIGKILL : SIGSTOP);
            if (way > 0) accountant.restartWorker();
        }
    });
    for (int i = 0; i < kThreads * kKillsOfEach; ++i)
        capture.expect(2, "subprocess quit unexpectedly, restarting");
}

} // namespace
} // namespace qel::test
