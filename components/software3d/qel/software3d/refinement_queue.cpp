#include <qel/software3d/refinement_queue_p.h>

#include <qel/system/core/clock.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <iterator>
#include <system_error>
#include <utility>

namespace qel::internal {
namespace {

constexpr int64 kPublicationIntervalNs = 40'000'000;

} // namespace

/// Computes one piece of any refinement.
class RefinementQueue::PieceTask final : public TaskQueue::Task {
public:
    explicit PieceTask(RefinementQueue& owner) : m_owner(owner) {}
    void execute(TaskContext& context) override { m_owner.run(*context.getQueue()); }

private:
    RefinementQueue& m_owner; ///< waits for its tasks in close()
};

RefinementQueue::RefinementQueue(std::function<void()> onResults)
    : m_onResults(std::move(onResults)),
      m_mostTasks(system()->getProcessorCount()),
      m_task(new PieceTask(*this)),
      m_queue(std::make_unique<TaskQueue>(TaskQueue::kParallel)) {}

RefinementQueue::~RefinementQueue() = default;

void RefinementQueue::close() {
    {
        const MutexLock lock(m_mutex);
        for (const auto& refinement : m_refinements) refinement->stop();
    }
    m_queue.reset();
    Vector<std::unique_ptr<ViewRefinement>> stopped;
    const MutexLock lock(m_mutex);
    stopped.swap(m_refinements);
}

void RefinementQueue::add(std::unique_ptr<ViewRefinement> refinement) {
    {
        const MutexLock lock(m_mutex);
        m_refinements.push_back(std::move(refinement));
    }
    pushTasks(*m_queue);
}

bool RefinementQueue::takeFinished(ViewRefinement& refinement, Vector<ViewRefinement::Tile>& tiles) {
    const MutexLock lock(m_mutex);
    tiles = refinement.takeFinished();
    return refinement.isComplete();
}

void RefinementQueue::dropReleased() {
    Vector<std::unique_ptr<ViewRefinement>> dropped; // destroyed after the mutex is unlocked
    const MutexLock lock(m_mutex);
    const auto first =
        std::stable_partition(m_refinements.begin(), m_refinements.end(), [](const auto& refinement) {
            return !refinement->isReleased() || refinement->isRunning();
        });
    std::move(first, m_refinements.end(), std::back_inserter(dropped));
    m_refinements.erase(first, m_refinements.end());
}

void RefinementQueue::finish() {
    bool isLeft = !isClosed();
    while (isLeft) {
        while (runPiece()) {
        }
        m_queue->abort(); // drops the tasks, for which nothing is left, and waits for those that run
        const MutexLock lock(m_mutex);
        m_tasks = 0;
        isLeft = chooseLocked() != nullptr; // a preparation has ended meanwhile
    }
}

// --- any thread --------------------------------------------------------------------------------------------

/// Runs a task of the queue. @threads a worker.
void RefinementQueue::run(TaskQueue& queue) {
    MutexLock lock(m_mutex);
    ViewRefinement* const refinement = chooseLocked();
    if (refinement == nullptr) {
        --m_tasks;
        return;
    }
    const unsigned piece = refinement->take();
    lock.unlock();
    compute(*refinement, piece);
    lock.lock();
    --m_tasks;
    lock.unlock();
    pushTasks(queue);
}

/// Computes a piece. @return false if no piece is left. @threads any.
bool RefinementQueue::runPiece() {
    MutexLock lock(m_mutex);
    ViewRefinement* const refinement = chooseLocked();
    if (refinement == nullptr) return false;
    const unsigned piece = refinement->take();
    lock.unlock();
    compute(*refinement, piece);
    return true;
}

/// Returns the refinement with the least progress of those that have a piece to compute; null without any.
ViewRefinement* RefinementQueue::chooseLocked() {
    ViewRefinement* chosen = nullptr;
    for (const auto& refinement : m_refinements)
        if (refinement->countReady() != 0 &&
            (chosen == nullptr || refinement->getProgress() < chosen->getProgress()))
            chosen = refinement.get();
    return chosen;
}

void RefinementQueue::compute(ViewRefinement& refinement, unsigned piece) {
    ViewRefinement::Tile tile = refinement.compute(piece);
    {
        const MutexLock lock(m_mutex);
        refinement.end(piece, std::move(tile));
        if (!isPublicationDueLocked()) return;
        m_isPublicationPending = true;
        m_lastPublicationNs = Clock::current().steadyNanoseconds();
    }
    const SmartPointer<RefinementQueue> self(this);
    const auto publication = [self] { self->publish(); };
    system()->getGlobalMainQueue()->pushTask(new TaskQueue::LambdaNoContextTask(publication), 0);
}

/// Returns true if the main thread should get results now: at the end, and before it not more often than it
/// can draw frames.
bool RefinementQueue::isPublicationDueLocked() const {
    if (m_isPublicationPending) return false;
    const bool isBusy = std::any_of(m_refinements.begin(), m_refinements.end(), [](const auto& refinement) {
        return refinement->isRunning() || refinement->countReady() != 0;
    });
    return !isBusy || Clock::current().steadyNanoseconds() - m_lastPublicationNs >= kPublicationIntervalNs;
}

/// Pushes a task for each piece that can be computed, within the limit. @threads any.
void RefinementQueue::pushTasks(TaskQueue& queue) {
    unsigned count = 0;
    {
        const MutexLock lock(m_mutex);
        for (const auto& refinement : m_refinements) count += refinement->countReady();
        count = std::min(count, m_mostTasks - m_tasks);
        m_tasks += count;
    }
    try {
        queue.pushTaskN(count, m_task.get(), 0);
    } catch (const std::system_error&) {
        // The tasks wait until the pool has a worker.
    }
}

/// @threads main thread.
void RefinementQueue::publish() {
    {
        const MutexLock lock(m_mutex);
        m_isPublicationPending = false;
    }
    if (!isClosed()) m_onResults();
}

} // namespace qel::internal
