// Workers that flood, hang or die.
#include "../../hosts/qelserver/worker_pool.h"
#include "../process/process_fixture.h"

#include <qel/foundation/log/log_backend.h>
#include <qel/store/core/memory_store.h>

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace {

using namespace qel;
using namespace qelserver;
using namespace testing;

TEST(SilenceWatchTest, AWorkerHangsAfterThreeMissedHeartbeats) {
    SilenceWatch watch;
    watch.hear(true);
    for (int second = 1; second < 6; ++second) EXPECT_FALSE(watch.pass(1000)) << second;
    EXPECT_FALSE(watch.pass(999));
    EXPECT_TRUE(watch.pass(1));
    watch.hear(false);
    EXPECT_FALSE(watch.pass(1000)) << "anything that a worker sends counts";
}

TEST(SilenceWatchTest, AHeartbeatDoesNotAnswerAJob) {
    SilenceWatch watch;
    watch.expectAnswer();
    for (int second = 0; second < 100; ++second) {
        EXPECT_FALSE(watch.pass(1000));
        watch.hear(true);
    }
    for (int second = 1; second < 6; ++second) EXPECT_FALSE(watch.pass(1000)) << second;
    EXPECT_TRUE(watch.pass(1000));
}

TEST(SilenceWatchTest, ASuspendedServerCountsOneSecond) {
    SilenceWatch watch;
    watch.hear(true);
    for (int i = 0; i < 5; ++i) EXPECT_FALSE(watch.pass(60'000));
    EXPECT_TRUE(watch.pass(60'000));
}

class WorkerPoolTest : public test::ProcessFixture {
protected:
    void TearDown() override {
        pool.reset();
        statistics.reset();
        board.reset();
        capture.take(); // lines about workers that were killed meanwhile
        ProcessFixture::TearDown();
    }
    /// Starts a pool of one worker, which runs a shell script.
    void start(const std::string& script) {
        const std::string program = folder.write("worker", "#!/bin/sh\n" + script);
        chmod(program.c_str(), 0755);
        statistics = new Statistics(Item(store.get()).add("counters"));
        const SmartPointer<JobTable> table(new JobTable(Item(store.get()).add("jobs")));
        board.emplace(table, statistics, JobBoard::Limits());
        const auto newWorker = [program] { return SmartPointer<Worker>(new Worker(program)); };
        pool.emplace(*board, statistics, newWorker, 1, [](const Job&) { return Item(); });
    }
    void pollUntil(const std::function<bool()>& condition) {
        test::waitUntil([&] {
            pool->poll(3);
            return condition();
        });
    }
    uint64 count(const char* counter) { return statistics->get(counter); }
    const WorkerPool::Seat& seat() { return pool->seats().front(); }

    test::LogCapture capture;
    const test::ScratchFolder folder;
    SmartPointer<Store> store{new MemoryStore()};
    SmartPointer<Statistics> statistics;
    std::optional<JobBoard> board;
    std::optional<WorkerPool> pool;
};

std::string heartbeat() {
    return "echo '" + std::string(Packet(qeljobs::heartbeatScheme(), 0).convertToBase16String()) + "'\n";
}

TEST_F(WorkerPoolTest, ASuspendedWorkerIsKilledAndRestarted) {
    start(heartbeat() + "kill -STOP $$\n");
    pollUntil([&] { return seat().restarts == 2; }); // each pass of a worker's loop advances the clock
    EXPECT_GE(count("workers.hung"), 2u);
    EXPECT_GE(count("workers.lost"), 2u);
    EXPECT_THAT(capture.take(),
                Contains(Field(&test::LogLine::text, ContainsRegex("worker [0-9]+ hangs, restart 1"))));
}

TEST_F(WorkerPoolTest, AWorkerThatNeverReportsAboutItsJobIsRestarted) {
    start("while :; do :; done\n");
    board->submit("hash", {"/f"});
    board->settle(true);
    pollUntil([&] { return pool->assignJobs(); });
    pollUntil([&] { return seat().restarts == 1; });
    EXPECT_EQ(count("workers.hung"), 1u);
    EXPECT_EQ(board->waitingCount(), 1u) << "the job waits for the next worker";
    capture.take();
}

TEST_F(WorkerPoolTest, AFloodOfLogLinesIsTrimmed) {
    LogBackend::registerBackend(true);
    LogBackend::limitMessages(1000, 1 << 20);
    start("yes 'a line of a worker' | head -c 16000000\necho over >\"$0.over\"\nexec sleep 1000\n");
    pollUntil([&] { return folder.has("worker.over"); });
    size_t kept = 0;
    while (LogBackend::takeMessage(1)) ++kept;
    EXPECT_LE(kept, 300u);
    capture.take();
    LogBackend::unregisterBackend();
}

TEST_F(WorkerPoolTest, NoMorePacketsWaitThanTheLimit) {
    start("while :; do\n" + heartbeat() + "done\n");
    Worker& worker = *seat().worker;
    for (int round = 0; round < 20; ++round) {
        size_t taken = 0;
        test::waitUntil([&] {
            const size_t count = worker.takeEvents().size();
            EXPECT_LE(count, Worker::kMostEvents);
            taken += count;
            return taken > 0;
        });
    }
}

} // namespace
