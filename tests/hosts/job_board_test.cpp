#include "../../hosts/qelserver/job_board.h"
#include "../support/log_capture.h"
#include "../support/system_fixture.h"

#include <qel/store/core/memory_store.h>

#include <limits>

namespace {

using namespace qel;
using namespace qelserver;

class JobBoardTest : public test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        table.reset(new JobTable(Item(store.get()).add("jobs")));
    }
    void TearDown() override {
        table.reset();
        SystemFixture::TearDown();
    }
    /// The board as a server finds it that starts now.
    JobBoard board(const JobBoard::Limits& limits = JobBoard::Limits()) {
        const SmartPointer<Statistics> statistics(new Statistics(Item(store.get()).add("counters")));
        return JobBoard(table, statistics, limits);
    }
    static Vector<GUID> last(const JobBoard& board, size_t count) {
        Vector<GUID> ids;
        board.visitNewestFirst(std::numeric_limits<int64>::max(), [&](const Job& job) {
            if (ids.size() < count) ids.insert(ids.begin(), job.id);
            return ids.size() < count;
        });
        return ids;
    }

    SmartPointer<Store> store{new MemoryStore()};
    SmartPointer<JobTable> table;
};

TEST_F(JobBoardTest, WhatWasStillToDoComesUpAgainWithoutTheAttemptThatWasCutOff) {
    const GUID id = board().submit("hash", {"/a", "/b"});
    JobBoard before = board();
    before.start();
    before.giveBack(id, 3);
    EXPECT_EQ(before.start()->attempts, 2);
    JobBoard after = board();
    const Job* next = after.start();
    EXPECT_TRUE(next->id == id && next->attempts == 2 && next->files == (Vector<String>{"/a", "/b"}));
    test::LogCapture log;
    after.giveBack(id, 2);
    log.take();
    after.done(id, 1, Item("late"));
    EXPECT_TRUE(next->state == JobState::Failed && next->result.empty())
        << "what a lost worker says does not count";
}

TEST_F(JobBoardTest, StoredJobsMayBeOfOneMomentAndSayNonsense) {
    for (int i = 0; i < 2; ++i) {
        Job job;
        job.submitted = 5; // a clock that was set back gives a time twice
        job.state = JobState::Running;
        job.attempts = i == 0 ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
        table->add(job);
    }
    JobBoard jobs = board({.ended = 1});
    EXPECT_EQ(last(jobs, 9).size(), 2u);
    for (int i = 0; i < 2; ++i) jobs.done(jobs.start()->id, 0, Item("x"));
    EXPECT_EQ(last(jobs, 9).size(), 1u);
}

TEST_F(JobBoardTest, TheOldestEndedJobsMakeRoomAndWhatWaitsIsNeverDropped) {
    JobBoard jobs = board({.ended = 2, .bytes = 100'000});
    Vector<GUID> ids;
    for (int i = 0; i < 4; ++i) ids.push_back(jobs.submit("hash", {"/f"}));
    for (int i = 0; i < 3; ++i) jobs.done(jobs.start()->id, 0, Item("x"));
    EXPECT_EQ(last(jobs, 9), (Vector<GUID>{ids[1], ids[2], ids[3]})) << "one more than may be kept";

    const String half(60'000, 'h');
    const GUID big = jobs.submit("hash", {half});
    test::LogCapture log;
    EXPECT_FALSE(jobs.submit("hash", {half}));
    log.expect(2, "refused a job: too many wait");
    EXPECT_EQ(last(jobs, 9), (Vector<GUID>{ids[3], big})) << "there was no room beside those that wait";
    jobs.start();
    jobs.start();
    jobs.done(ids[3], 0, Item("x"));
    jobs.done(big, 0, Item(half));
    EXPECT_EQ(last(jobs, 9), Vector<GUID>{big}) << "the last result stays, whatever its size";
    EXPECT_TRUE(jobs.submit("hash", {half}));
    EXPECT_EQ(board().waitingCount(), 1u);
}

} // namespace
