// The board and the table of jobs, without the server.
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
    /// Returns the board that a server would load now.
    JobBoard board(const JobBoard::Limits& limits = JobBoard::Limits()) {
        const SmartPointer<Statistics> statistics(new Statistics(Item(store.get()).add("counters")));
        return JobBoard(table, statistics, limits);
    }
    /// Stores the changes of the board.
    static void storeChanges(JobBoard& board) {
        board.store();
        board.settle(true);
    }
    /// Fails to store the changes of the board, as on a full disk.
    void loseChanges(JobBoard& board) {
        store->begin();
        board.store();
        store->rollback();
        board.settle(false);
    }
    /// Submits a job and stores it.
    static GUID add(JobBoard& board, const Vector<String>& files = {"/f"}) {
        const GUID id = board.submit("hash", files);
        storeChanges(board);
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

TEST_F(JobBoardTest, AnAttemptThatARestartInterruptsIsNotCounted) {
    JobBoard first = board();
    const GUID id = add(first, {"/a", "/b"});
    JobBoard before = board();
    before.start();
    before.giveBack(id, 3);
    EXPECT_EQ(before.start()->attempts, 2);
    storeChanges(before);
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
        storeChanges(jobs);
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

TEST_F(JobBoardTest, ReportsOfALostWorkerAreIgnored) {
    JobBoard jobs = board();
    const GUID id = add(jobs);
    jobs.start();
    test::LogCapture log;
    jobs.giveBack(id, 1);
    EXPECT_EQ(log.take().size(), 1u);
    jobs.done(id, 1, Item("late"));
    storeChanges(jobs);
    EXPECT_EQ(jobs.find(id)->state, JobState::Failed);
    EXPECT_EQ(jobs.find(id)->result, Item());
}

TEST_F(JobBoardTest, StoredJobsMayHaveEqualTimesAndWrongNumbers) {
    for (int i = 0; i < 2; ++i) {
        Job job;
        job.id = system().generateGUID();
        job.submitted = 5; // the same time twice, as after the clock was set back
        job.state = JobState::Running;
        job.attempts = i == 0 ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
        table->put(job);
    }
    JobBoard jobs = board({.ended = 1});
    EXPECT_EQ(last(jobs, 9).size(), 2u);
    for (int i = 0; i < 2; ++i) jobs.done(jobs.start()->id, 0, Item("x"));
    storeChanges(jobs);
    EXPECT_EQ(last(jobs, 9).size(), 1u);
}

TEST_F(JobBoardTest, OnlyEndedJobsAreRemovedToMakeRoom) {
    JobBoard jobs = board({.ended = 2, .bytes = 100'000});
    Vector<GUID> ids;
    for (int i = 0; i < 4; ++i) ids.push_back(add(jobs));
    for (int i = 0; i < 3; ++i) jobs.done(jobs.start()->id, 0, Item("x"));
    storeChanges(jobs);
    EXPECT_EQ(last(jobs, 9), (Vector<GUID>{ids[1], ids[2], ids[3]})) << "the limit is two ended jobs";

    const String half(60'000, 'h');
    const GUID big = add(jobs, {half});
    test::LogCapture log;
    EXPECT_FALSE(jobs.submit("hash", {half}));
    log.expect(2, "refused a job: too many jobs wait");
    EXPECT_EQ(last(jobs, 9), (Vector<GUID>{ids[3], big})) << "waiting jobs leave no room for another";
    jobs.start();
    jobs.start();
    jobs.done(ids[3], 0, Item("x"));
    jobs.done(big, 0, Item(half));
    storeChanges(jobs);
    EXPECT_EQ(last(jobs, 9), Vector<GUID>{big}) << "the last result stays, although it is large";
    EXPECT_TRUE(add(jobs, {half}));
    EXPECT_EQ(board().waitingCount(), 1u);
}

// --- failing disk ---------------------------------------------------------------------------------------

TEST_F(JobBoardTest, AJobThatIsNotStoredDoesNotExist) {
    JobBoard jobs = board();
    const GUID id = jobs.submit("hash", {"/f"});
    loseChanges(jobs);
    EXPECT_FALSE(jobs.find(id));
    EXPECT_FALSE(jobs.start());
    jobs.withdraw(id);
    storeChanges(jobs);
    EXPECT_EQ(last(jobs, 9), Vector<GUID>());
    EXPECT_EQ(last(board(), 9), Vector<GUID>());
}

TEST_F(JobBoardTest, AnEndIsVisibleOnlyAfterItIsStored) {
    JobBoard jobs = board();
    const GUID done = add(jobs);
    const GUID failed = add(jobs);
    jobs.start();
    jobs.start();
    jobs.done(done, 7, Item("result"));
    test::LogCapture log;
    jobs.fail(failed, "reason");
    EXPECT_EQ(log.take().size(), 1u);
    loseChanges(jobs);
    for (const GUID& id : {done, failed}) EXPECT_EQ(jobs.find(id)->state, JobState::Running);
    EXPECT_EQ(jobs.find(done)->result, Item());

    storeChanges(jobs);
    EXPECT_EQ(jobs.find(done)->state, JobState::Done);
    const JobBoard after = board();
    EXPECT_EQ(after.find(done)->state, JobState::Done);
    EXPECT_EQ(after.find(done)->result, Item("result"));
    EXPECT_EQ(after.find(failed)->state, JobState::Failed);
    EXPECT_EQ(after.find(failed)->error, "reason");
}

TEST_F(JobBoardTest, AJobRemovedWhileTheDiskFailsStaysRemoved) {
    JobBoard jobs = board({.ended = 1});
    const Vector<GUID> ids{add(jobs), add(jobs)};
    for (const GUID& id : ids) {
        jobs.start();
        jobs.done(id, 0, Item("x"));
    }
    storeChanges(jobs); // removes the first
    loseChanges(jobs);
    storeChanges(jobs);
    EXPECT_EQ(last(board(), 9), Vector<GUID>{ids[1]});
}

TEST_F(JobBoardTest, ADoneJobHasFullProgressAfterARestart) {
    JobBoard jobs = board();
    const GUID id = add(jobs);
    jobs.start();
    jobs.progress(id, 0.5);
    EXPECT_EQ(jobs.find(id)->progress, 0.5);
    jobs.done(id, 0, Item("x"));
    storeChanges(jobs);
    EXPECT_EQ(jobs.find(id)->progress, 1);
    EXPECT_EQ(board().find(id)->progress, 1);
}

} // namespace
