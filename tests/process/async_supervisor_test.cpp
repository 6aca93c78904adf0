// Supervised workers. `cat` serves as a worker that sends every packet back and ignores Terminate.
#include <tests/process/counting_supervisor.h>

#include <gmock/gmock.h>

#include <csignal>
#include <memory>
#include <vector>

#include <sys/stat.h>
#include <sys/wait.h>

namespace qel::test {
namespace {

using namespace testing;

class Supervision : public ProcessFixture {
protected:
    /// Runs rounds until @p condition holds, without advancing the clock.
    void roundsUntil(Supervisor& supervisor, const std::function<bool()>& condition) {
        waitUntil([&] {
            supervisor.tick();
            return condition();
        });
    }

    LogCapture capture;
};

TEST_F(Supervision, AMissingWorkerIsReportedOnce) {
    Supervisor supervisor("/nowhere/worker");
    const SmartPointer<Packet> packet(new Packet(ProcessProtocol::Terminate, 0));
    for (int i = 0; i < 3; ++i) {
        supervisor.enqueuePacket(packet.get());
        supervisor.tick();
        clock.advanceMs(5000);
    }
    capture.expect(3, "worker binary not found under path: /nowhere/worker");
    EXPECT_EQ(supervisor.started, 0);
    EXPECT_EQ(packet->getReferenceCount(), 1) << "packets are not kept if they can't be sent";
}

TEST_F(Supervision, AWorkerIsStartedAgainAfterTwoSeconds) {
    const ScratchFolder folder;
    clock.advanceMs(0xFFFFFFFFLL - 3'000);
    for (const char* content : {"#!/bin/sh\nexit 1\n", "no program"}) {
        const std::string path = folder.write("worker", content);
        chmod(path.c_str(), *content == '#' ? 0755 : 0644);
        Supervisor supervisor(path);
        for (int round = 1; round <= 3; ++round) {
            roundsUntil(supervisor, [&] { return supervisor.quit == round; });
            clock.advanceMs(1999);
            supervisor.tick();
            EXPECT_EQ(supervisor.started, round);
            capture.expect(2, kQuit);
            clock.advanceMs(1);
        }
        capture.take();
    }
}

TEST_F(Supervision, PacketsOfAWorkerThatDiedAreDelivered) {
    Supervisor supervisor("/bin/sh");
    // Sends the first packet twice, half of it once more, floods standard error and ends.
    supervisor.m_arguments = {"sh", "-c",
                              "read p; echo $p; echo $p; printf %.20s $p; seq 1000 >&2; kill -9 $$"};
    supervisor.enqueue(99);
    roundsUntil(supervisor, [&] { return supervisor.quit == 1; });
    EXPECT_THAT(supervisor.received(), ElementsAre(1, 1));
    EXPECT_EQ(capture.take().size(), 1 + 1000 + 1u);
}

TEST_F(Supervision, WorkersThatIgnoreTerminateAreKilledTogether) {
    std::vector<std::unique_ptr<Supervisor>> supervisors;
    Vector<AsyncSupervisor*> all;
    for (int i = 0; i < 64; ++i) {
        supervisors.push_back(std::make_unique<Supervisor>("/bin/cat"));
        all.push_back(supervisors.back().get());
        supervisors.back()->tick();
    }
    const int64 begin = clock.steadyNanoseconds();
    AsyncSupervisor::terminateAll(all);
    EXPECT_EQ((clock.steadyNanoseconds() - begin) / 1'000'000, 500); // sleeps of 1 ms on the manual clock
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
}

/// A clock that gives workers as much time as they need.
class PatientClock : public ManualClock {
public:
    using ManualClock::ManualClock;
    void sleep(unsigned) override { std::this_thread::yield(); }
};

TEST_F(Supervision, AWorkerMayEndByItselfAfterTerminate) {
    const ScratchFolder folder;
    PatientClock patient(clock.steadyNanoseconds());
    Clock::install(&patient);
    Supervisor supervisor("/bin/sh");
    supervisor.m_arguments = {"sh", "-c", "read a; echo $a; read b; echo $b > \"$0\"", folder.path("end")};
    supervisor.start();
    waitUntil([&] { return supervisor.received().size() == 1; });
    supervisor.terminate();
    EXPECT_EQ(folder.read("end"), "PKTB16[0000FFFF0100020000000000]\n");
    supervisor.start();
    supervisor.terminate();
    EXPECT_EQ(supervisor.started, 1);
    EXPECT_EQ(supervisor.quit, 0);
    Clock::install(&clock);
}

/// A clock on which loops may wait for events.
class EventClock : public ManualClock {
public:
    using ManualClock::ManualClock;
    bool isRealTime() const override { return true; }
};

TEST_F(Supervision, ALoopThatWaitsSendsAndReceivesEveryPacket) {
    EventClock events(clock.steadyNanoseconds());
    Clock::install(&events);
    Supervisor supervisor("/bin/cat");
    supervisor.start();
    for (size_t count = 1; count <= 20; ++count) { // the first packet is that of the start
        waitUntil([&] { return supervisor.received().size() == count; });
        supervisor.enqueue(static_cast<int64>(count) + 1);
    }
    waitUntil([&] { return supervisor.received().size() == 21; });
    EXPECT_EQ(supervisor.received().back(), 21);
    EXPECT_EQ(supervisor.quit, 0);
    kill(static_cast<pid_t>(supervisor.workerId.load()), SIGKILL);
    waitUntil([&] { return supervisor.quit == 1; }); // the loop notices the end of its worker
    supervisor.terminate();
    capture.expect(2, kQuit);
    Clock::install(&clock);
}

// --- workers that send too much --------------------------------------------------------------------------

/// Stores a few packets at most and pauses reading beyond that.
class Holder : public Supervisor {
public:
    static constexpr int kMost = 10;

    using AsyncSupervisor::pauseReading;
    using Supervisor::Supervisor;

    void take() {
        held = 0;
        pauseReading(false);
    }

    int held = 0;
    int total = 0;

private:
    void onPacket(Packet*) override {
        ++total;
        if (++held == kMost) pauseReading(true);
    }
};

TEST_F(Supervision, APauseLimitsPacketsWithoutLoss) {
    constexpr int kSent = 2000; // about 12 MB
    Holder supervisor("/bin/sh");
    supervisor.m_arguments = {"sh", "-c", "read p; yes \"$p\" | head -n 2000; read end"};
    roundsUntil(supervisor, [&] {
        EXPECT_LE(supervisor.held, Holder::kMost);
        if (supervisor.held == Holder::kMost) supervisor.take();
        return supervisor.total == kSent;
    });
    Supervisor flooded("/bin/sh");
    flooded.m_arguments = {"sh", "-c", "read p; yes \"$p\""};
    roundsUntil(flooded, [&] { return flooded.received().size() > 1000; }); // it never blocks
}

TEST_F(Supervision, PacketsOfAPausedWorkerThatEndedAreDelivered) {
    Holder supervisor("/bin/sh");
    supervisor.m_arguments = {"sh", "-c", "read p; echo $p; echo $p; kill -9 $$"};
    supervisor.pauseReading(true);
    roundsUntil(supervisor, [&] { return supervisor.quit == 1; });
    EXPECT_EQ(supervisor.total, 2);
    capture.expect(2, kQuit);
}

} // namespace
} // namespace qel::test
