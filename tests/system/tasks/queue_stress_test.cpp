// Random operations on queues against a model of which run may start when. A failure prints its seed;
// --gtest_random_seed chooses other seeds than the usual ones.
#include "../../support/system_fixture.h"
#include "../../support/threads.h"
#include "gate.h"

#include <compare>
#include <memory>
#include <random>
#include <set>
#include <thread>

namespace qel {
namespace {

/// A run of a task. Runs compare in the order in which a serial queue starts them: a push's highest index
/// first.
struct Run {
    unsigned segment; // barriers pushed before it
    unsigned push;
    uint32 indicesAbove;

    friend auto operator<=>(const Run&, const Run&) = default;
};

/// A queue under random operations.
class Stress {
public:
    explicit Stress(unsigned seed) : m_seed(seed), m_random(seed), m_queue(kTypes[seed % 4]) {}

    void operate() {
        SCOPED_TRACE(m_seed);
        for (int i = 0; i < 40; ++i) operateOnce(m_random() % 10);
        if (m_paused) pauseOrResume();
        wait();
        EXPECT_EQ(m_queue.getWorkload(), 0u);
        EXPECT_EQ(m_queue.getNumberOfQueuedTasks(), 0u);
        EXPECT_EQ(m_lives.use_count(), 1) << "tasks were not released";
    }

private:
    static constexpr TaskQueue::Type kTypes[] = {TaskQueue::kParallel, TaskQueue::kDeleteIO,
                                                 TaskQueue::kBlockingDestructor, 7};

    void operateOnce(unsigned operation) {
        using Operation = void (Stress::*)();
        static constexpr Operation kRare[] = {&Stress::barrier, &Stress::pauseOrResume, &Stress::wait,
                                              &Stress::abort};
        (this->*(operation < std::size(kRare) ? kRare[operation] : &Stress::push))();
    }

    void push() {
        const uint32 count = 1 + m_random() % (m_random() % 4 == 0 ? 40 : 4);
        const bool slow = m_random() % 4 == 0;
        const unsigned number = ++m_pushes;
        {
            const std::lock_guard lock(m_mutex);
            for (uint32 above = 0; above < count; ++above) m_unended.insert({m_segment, number, above});
        }
        auto run = [this, number, count, slow, segment = m_segment, life = m_lives](TaskContext& context) {
            const Run self{segment, number, count - 1 - context.getIndex()};
            noteStart(self);
            if (slow) std::this_thread::yield();
            if (slow) context.changeWorkload(context.getIndex());
            noteEnd(self);
        };
        m_queue.pushTaskN(count, test::task(std::move(run)), m_random() % 3);
    }

    // Both run on workers, where a scoped trace would leak memory that outlives the test.
    void noteStart(const Run& run) {
        const std::lock_guard lock(m_mutex);
        EXPECT_FALSE(m_paused) << "ran in a pause, seed " << m_seed;
        EXPECT_TRUE(m_unended.contains(run)) << "ran twice, seed " << m_seed;
        EXPECT_EQ(m_unended.begin()->segment, run.segment) << "ran before its barrier, seed " << m_seed;
        if (!m_queue.isParallelQueue()) {
            EXPECT_EQ(*m_unended.begin(), run) << "ran before its turn, seed " << m_seed;
        }
    }

    void noteEnd(const Run& run) {
        const std::lock_guard lock(m_mutex);
        EXPECT_EQ(m_unended.erase(run), 1u) << "ended twice, seed " << m_seed;
    }

    void barrier() {
        m_queue.pushBarrier();
        if (!m_paused) ++m_segment; // a paused queue is idle: nothing to separate
    }

    void pauseOrResume() {
        const bool pausing = !m_paused;
        if (pausing) m_queue.pause();
        const std::lock_guard lock(m_mutex);
        if (pausing) {
            EXPECT_TRUE(m_unended.empty()) << "still waiting or running in a pause";
        }
        m_paused = pausing;
        if (!pausing) m_queue.resume();
    }

    void wait() {
        m_queue.wait();
        const std::lock_guard lock(m_mutex);
        if (!m_paused) {
            EXPECT_TRUE(m_unended.empty()) << "still waiting or running after a wait";
        }
    }

    void abort() {
        m_queue.abort();
        EXPECT_TRUE(m_queue.empty());
        EXPECT_EQ(m_lives.use_count(), 1) << "an abort leaves no task behind";
        m_unended.clear();
        m_paused = false;
    }

    const unsigned m_seed;
    std::mt19937 m_random;
    std::shared_ptr<int> m_lives = std::make_shared<int>(0);
    std::mutex m_mutex;
    std::set<Run> m_unended; // under the mutex, as m_paused
    bool m_paused = false;
    unsigned m_segment = 0;
    unsigned m_pushes = 0;
    TaskQueue m_queue; // ends first
};

using QueueStressTest = test::SystemFixture;

TEST_F(QueueStressTest, RunsTakePlaceOnceAndInOrderWhileOtherQueuesWork) {
    const unsigned first = 1 + 1000 * static_cast<unsigned>(GTEST_FLAG_GET(random_seed));
    test::onThreads(3, [first](int thread) {
        for (unsigned i = 0; i < 80; ++i) Stress(first + 3 * i + static_cast<unsigned>(thread)).operate();
    });
}

} // namespace
} // namespace qel
