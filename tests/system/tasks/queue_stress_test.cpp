// Random operations on queues against a model of who may run when. A failure prints its seed;
// QEL_STRESS_FIRST_SEED and QEL_STRESS_SEEDS choose others than the usual ones.
#include <qel/system/tasks/task_queue.h>

#include "../../support/system_fixture.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace qel {
namespace {

/// One push and what its runs did. Tickets number all starts and ends in the order in which they happened.
struct Push {
    Push(uint32 countOfRuns, unsigned segmentNumber, uint32 earliestStart)
        : count(countOfRuns),
          segment(segmentNumber),
          notBefore(earliestStart),
          starts(countOfRuns),
          ends(countOfRuns) {}

    uint32 firstStart() const {
        uint32 first = UINT32_MAX;
        for (const auto& start : starts) first = start != 0 ? std::min(first, start.load()) : first;
        return first;
    }
    uint32 lastEnd() const {
        uint32 last = 0;
        for (const auto& end : ends) last = std::max(last, end.load());
        return last;
    }
    uint32 runs() const {
        return static_cast<uint32>(
            std::count_if(ends.begin(), ends.end(), [](auto& end) { return end != 0; }));
    }

    const uint32 count;
    const unsigned segment;                        // barriers pushed before it
    uint32 notBefore;                              // ticket of the resume that allowed it to run
    bool mayBeDropped = false;                     // an abort came before it was known to have run
    std::vector<std::atomic<uint32>> starts, ends; // by index; 0: not yet
};

/// A queue under random operations.
class Stress {
public:
    explicit Stress(unsigned seed) : m_random(seed), m_queue(randomType(seed)) {}

    void operate() {
        for (int i = 0; i < 40; ++i) {
            switch (m_random() % 10) {
            case 0:
                barrier();
                break;
            case 1:
                pauseOrResume();
                break;
            case 2:
                wait();
                break;
            case 3:
                abort();
                break;
            default:
                push();
                break;
            }
        }
        if (m_paused) pauseOrResume();
        wait();
    }

    void check() {
        EXPECT_EQ(m_repeated, 0u) << "runs with an index that had run before";
        EXPECT_EQ(m_queue.getWorkload(), 0u);
        EXPECT_EQ(m_queue.getNumberOfQueuedTasks(), 0u);
        EXPECT_EQ(m_lives.use_count(), 1) << "tasks that nobody released";
        uint32 segmentEnd = 0, lastEnd = 0;
        unsigned segment = 0;
        for (const auto& push : m_pushes) {
            if (push->segment != segment) segmentEnd = lastEnd;
            segment = push->segment;
            EXPECT_GT(push->firstStart(), segmentEnd) << "ran before its barrier";
            EXPECT_GT(push->firstStart(), push->notBefore) << "ran in a pause";
            if (!push->mayBeDropped) {
                EXPECT_EQ(push->runs(), push->count);
            }
            if (!m_queue.isParallelQueue()) checkOrder(*push, lastEnd);
            lastEnd = std::max(lastEnd, push->lastEnd());
        }
    }

private:
    static TaskQueue::Type randomType(unsigned seed) {
        constexpr TaskQueue::Type kTypes[] = {TaskQueue::kParallel, TaskQueue::kDeleteIO,
                                              TaskQueue::kBlockingDestructor, 7};
        return kTypes[seed % 4];
    }

    /// On a serial queue the runs follow each other, from the highest index down, without overlap.
    void checkOrder(const Push& push, uint32 previousEnd) {
        for (uint32 index = push.count; index-- > 0;) {
            if (push.ends[index] == 0) continue; // dropped
            EXPECT_GT(push.starts[index], previousEnd);
            previousEnd = push.ends[index];
        }
    }

    void push() {
        const uint32 count = 1 + m_random() % (m_random() % 4 == 0 ? 40 : 4);
        auto push = std::make_shared<Push>(count, m_segment, m_paused ? UINT32_MAX - 1 : 0);
        m_pushes.push_back(push);
        const bool slow = m_random() % 4 == 0;
        auto run = [this, push, slow, life = m_lives](TaskContext& context) {
            if (push->starts[context.getIndex()].exchange(++m_ticket) != 0) ++m_repeated;
            if (slow) std::this_thread::yield();
            if (slow) context.changeWorkload(context.getIndex());
            push->ends[context.getIndex()] = ++m_ticket;
        };
        m_queue.pushTaskN(count, new TaskQueue::LambdaTask(run), m_random() % 3);
    }

    void barrier() {
        m_queue.pushBarrier();
        if (!m_paused) ++m_segment; // a paused queue is idle: nothing to separate
    }

    void pauseOrResume() {
        if (m_paused) {
            const uint32 now = ++m_ticket;
            for (auto& push : m_pushes) push->notBefore = std::min(push->notBefore, now);
            m_queue.resume();
        } else {
            m_queue.pause();
            ++m_segment;
            checkAllEnded();
        }
        m_paused = !m_paused;
    }

    void wait() {
        m_queue.wait();
        checkAllEnded();
    }

    void abort() {
        m_queue.abort();
        m_paused = false;
        EXPECT_TRUE(m_queue.empty());
        EXPECT_EQ(m_lives.use_count(), 1) << "an abort leaves no task behind";
        for (auto& push : m_pushes) push->mayBeDropped |= push->runs() != push->count;
    }

    /// What isn't held back by a pause has ended after a wait.
    void checkAllEnded() {
        for (const auto& push : m_pushes) {
            if (push->notBefore == UINT32_MAX - 1 || push->mayBeDropped) continue;
            EXPECT_EQ(push->runs(), push->count) << "still waiting or running after a wait";
        }
    }

    std::mt19937 m_random;
    std::vector<std::shared_ptr<Push>> m_pushes;
    std::shared_ptr<int> m_lives = std::make_shared<int>(0);
    std::atomic<uint32> m_ticket{0};
    std::atomic<uint32> m_repeated{0};
    unsigned m_segment = 0;
    bool m_paused = false;
    TaskQueue m_queue; // ends first
};

unsigned fromEnvironment(const char* name, unsigned fallback) {
    const char* text = std::getenv(name);
    return text ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : fallback;
}

using QueueStressTest = test::SystemFixture;

TEST_F(QueueStressTest, NobodyRunsBeforeHisTurnOrTwice) {
    const unsigned first = fromEnvironment("QEL_STRESS_FIRST_SEED", 1);
    const unsigned seeds = fromEnvironment("QEL_STRESS_SEEDS", 200);
    for (unsigned seed = first; seed != first + seeds && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Stress stress(seed);
        stress.operate();
        stress.check();
    }
}

TEST_F(QueueStressTest, SeveralThreadsPushWaitAndDestroyAtOnce) {
    std::atomic<uint32> runs{0};
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            std::mt19937 random(t);
            TaskQueue shared(TaskQueue::kParallel);
            for (int i = 0; i < 200; ++i) {
                TaskQueue local(random() % 2 ? TaskQueue::kParallel : TaskQueue::kDeleteIO);
                auto task = [&] { ++runs; };
                for (TaskQueue* queue : {&local, &shared, system().getGlobalParallelQueue()}) {
                    queue->pushTaskN(3, new TaskQueue::LambdaNoContextTask(task), 1);
                }
                local.wait();
            }
            shared.wait();
        });
    }
    for (std::thread& thread : threads) thread.join();
    system().getGlobalParallelQueue()->wait();
    EXPECT_EQ(runs, 4u * 200 * 9);
}

} // namespace
} // namespace qel
