// The jobs of the server and their table, without the server.
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
    /// Returns the board as a server finds it that starts now.
    JobBoard board(const JobBoard::Limits& limits = JobBoard::Limits()) {
        const SmartPointer<Statistics> statistics(new Statistics(Item(store.get()).add("counters")));
        return JobBoard(table, statistics, limits);
    }
    /// Stores what has changed.
    static void keep(JobBoard& board) {
        board.store();
        board.settle(true);
    }
    /// Loses what has changed, as a full disk does.
    void lose(JobBoard& board) {
        store->begin();
        board.store();
        store->rollback();
        board.settle(false);
    }
    /// Submits a job and stores it.
    static GUID add(JobBoard& board, const Vector<String>& files = {"/f"}) {
        const GUID id = board.submit("hash", files);
        keep(board);
        return id;
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
    JobBoard first = board();
    const GUID id = add(first, {"/a", "/b"});
    JobBoard before = board();
    before.start();
    before.giveBack(id, 3);
    EXPECT_EQ(before.start()->attempts, 2);
    keep(before);
    JobBoard after = board();
    const Job* next = after.start();
    ASSERT_TRUE(next);
    EXPECT_EQ(next->id, id);
    EXPECT_EQ(next->attempts, 2);
    EXPECT_EQ(next->files, (Vector<String>{"/a", "/b"}));
}

TEST_F(JobBoardTest, AnErrorIsKeptAndLoggedAsOneShortLine) {
    test::LogCapture log;
    JobBoard jobs = board();
    const auto failWith = [&](const String& error) {
        const GUID id = add(jobs);
        jobs.start();
        jobs.fail(id, error);
        keep(jobs);
        log.expect(2, "job " + id.getFantasyName() + " failed: " + jobs.find(id)->error);
        return jobs.find(id)->error;
    };
    EXPECT_EQ(failWith("no file '/\u00e4'"), "no file '/\u00e4'");
    EXPECT_EQ(failWith("no file '/a\n[  0.000] [ERROR] \x1B[31m\x7F\u009B'"),
              "no file '/a?[  0.000] [ERROR] ?[31m?"
              "?'");
    const std::string most(JobBoard::kLongestErrorBytes, 'x');
    EXPECT_EQ(failWith(most), most);
    EXPECT_EQ(failWith(most + 'x'), most + "...");
}

TEST_F(JobBoardTest, WhatALostWorkerSaysDoesNotCount) {
    JobBoard jobs = board();
    const GUID id = add(jobs);
    jobs.start();
    test::LogCapture log;
    jobs.giveBack(id, 1);
    EXPECT_EQ(log.take().size(), 1u);
    jobs.done(id, 1, Item("late"));
    keep(jobs);
    EXPECT_EQ(jobs.find(id)->state, JobState::Failed);
    EXPECT_EQ(jobs.find(id)->result, Item());
}

TEST_F(JobBoardTest, StoredJobsMayBeOfOneMomentAndSayNonsense) {
    for (int i = 0; i < 2; ++i) {
        Job job;
        job.id = system().generateGUID();
        job.submitted = 5; // a clock that was set back gives a time twice
        job.state = JobState::Running;
        job.attempts = i == 0 ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
        table->put(job);
    }
    JobBoard jobs = board({.ended = 1});
    EXPECT_EQ(last(jobs, 9).size(), 2u);
    for (int i = 0; i < 2; ++i) jobs.done(jobs.start()->id, 0, Item("x"));
    keep(jobs);
    EXPECT_EQ(last(jobs, 9).size(), 1u);
}

TEST_F(JobBoardTest, TheOldestEndedJobsMakeRoomAndWhatWaitsIsNeverDropped) {
    JobBoard jobs = board({.ended = 2, .bytes = 100'000});
    Vector<GUID> ids;
    for (int i = 0; i < 4; ++i) ids.push_back(add(jobs));
    for (int i = 0; i < 3; ++i) jobs.done(jobs.start()->id, 0, Item("x"));
    keep(jobs);
    EXPECT_EQ(last(jobs, 9), (Vector<GUID>{ids[1], ids[2], ids[3]})) << "one more than may be kept";

    const String half(60'000, 'h');
    const GUID big = add(jobs, {half});
    test::LogCapture log;
    EXPECT_FALSE(jobs.submit("hash", {half}));
    log.expect(2, "refused a job: too many wait");
    EXPECT_EQ(last(jobs, 9), (Vector<GUID>{ids[3], big})) << "there was no room beside those that wait";
    jobs.start();
    jobs.start();
    jobs.done(ids[3], 0, Item("x"));
    jobs.done(big, 0, Item(half));
    keep(jobs);
    EXPECT_EQ(last(jobs, 9), Vector<GUID>{big}) << "the last result stays, whatever its size";
    EXPECT_TRUE(add(jobs, {half}));
    EXPECT_EQ(board().waitingCount(), 1u);
}

// --- a disk that fails -----------------------------------------------------------------------------------

TEST_F(JobBoardTest, AJobThatIsNotStoredDoesNotExist) {
    JobBoard jobs = board();
    const GUID id = jobs.submit("hash", {"/f"});
    lose(jobs);
    EXPECT_FALSE(jobs.find(id));
    EXPECT_FALSE(jobs.start());
    jobs.withdraw(id);
    keep(jobs);
    EXPECT_EQ(last(jobs, 9), Vector<GUID>());
    EXPECT_EQ(last(board(), 9), Vector<GUID>());
}

TEST_F(JobBoardTest, AnEndThatIsNotStoredIsNotSeenAndStoredLater) {
    JobBoard jobs = board();
    const GUID done = add(jobs);
    const GUID failed = add(jobs);
    jobs.start();
    jobs.start();
    jobs.done(done, 7, Item("result"));
    test::LogCapture log;
    jobs.fail(failed, "reason");
    EXPECT_EQ(log.take().size(), 1u);
    lose(jobs);
    for (const GUID& id : {done, failed}) EXPECT_EQ(jobs.find(id)->state, JobState::Running);
    EXPECT_EQ(jobs.find(done)->result, Item());

    keep(jobs);
    EXPECT_EQ(jobs.find(done)->state, JobState::Done);
    const JobBoard after = board();
    EXPECT_EQ(after.find(done)->state, JobState::Done);
    EXPECT_EQ(after.find(done)->result, Item("result"));
    EXPECT_EQ(after.find(failed)->state, JobState::Failed);
    EXPECT_EQ(after.find(failed)->error, "reason");
}

TEST_F(JobBoardTest, AJobThatWasForgottenWhileTheDiskFailedIsGoneForGood) {
    JobBoard jobs = board({.ended = 1});
    const Vector<GUID> ids{add(jobs), add(jobs)};
    for (const GUID& id : ids) {
        jobs.start();
        jobs.done(id, 0, Item("x"));
    }
    keep(jobs); // forgets the first
    lose(jobs);
    keep(jobs);
    EXPECT_EQ(last(board(), 9), Vector<GUID>{ids[1]});
}

TEST_F(JobBoardTest, AJobThatIsDoneHasFullProgressAfterARestartToo) {
    JobBoard jobs = board();
    const GUID id = add(jobs);
    jobs.start();
    jobs.progress(id, 0.5);
    EXPECT_EQ(jobs.find(id)->progress, 0.5);
    jobs.done(id, 0, Item("x"));
    keep(jobs);
    EXPECT_EQ(jobs.find(id)->progress, 1);
    EXPECT_EQ(board().find(id)->progress, 1);
}

} // namespace
