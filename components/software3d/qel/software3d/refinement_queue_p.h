// The queue on which pictures of volumes become exact.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/software3d/view_refinement_p.h>
#include <qel/system/tasks/task_queue.h>

#include <functional>
#include <memory>

namespace qel::internal {

/// Computes refinements on a parallel queue of its own. At most one task for each processor is on it at a
/// time, so that a refinement that is stopped leaves nothing to wait for, and that other threads wait less.
/// New results are reported to the owner by a task on the main queue, of which there is never more than one.
///
/// Refinements are destroyed on the main thread, since that is where the last references to textures may be
/// released.
/// @threads main thread, but for the tasks.
class RefinementQueue final : public Object {
    QEL_CLASS(RefinementQueue, Object)

public:
    /// Creates the queue; the System exists. @param onResults  called on the main thread, until close().
    explicit RefinementQueue(std::function<void()> onResults);
    ~RefinementQueue() override;

    /// Stops and destroys all refinements; waits for the rows that are being computed.
    void close();
    /// Returns true after close().
    bool isClosed() const { return m_queue == nullptr; }

    /// Begins to compute a refinement.
    void add(std::unique_ptr<ViewRefinement> refinement);
    /// Moves the tiles that have been finished since the last call to @p tiles.
    /// @return true if all pieces have ended, so that these tiles are the last.
    bool takeFinished(ViewRefinement& refinement, Vector<ViewRefinement::Tile>& tiles);
    /// Destroys the refinements that were released, as soon as none of their pieces is running.
    void dropReleased();
    /// Computes what is left, on this thread too, and returns when all pieces have ended.
    void finish();

private:
    class PieceTask;

    void run(TaskQueue& queue);
    bool runPiece();
    ViewRefinement* chooseLocked() QEL_REQUIRES(m_mutex);
    bool isPublicationDueLocked() const QEL_REQUIRES(m_mutex);
    void compute(ViewRefinement& refinement, unsigned piece);
    void pushTasks(TaskQueue& queue);
    void publish();

    const std::function<void()> m_onResults;
    const unsigned m_mostTasks;
    const SmartPointer<TaskQueue::Task> m_task;
    std::unique_ptr<TaskQueue> m_queue;

    Mutex m_mutex; // no other is taken meanwhile
    Vector<std::unique_ptr<ViewRefinement>> m_refinements QEL_GUARDED_BY(m_mutex);
    unsigned m_tasks QEL_GUARDED_BY(m_mutex) = 0; // on the queue, waiting and running
    bool m_isPublicationPending QEL_GUARDED_BY(m_mutex) = false;
    int64 m_lastPublicationNs QEL_GUARDED_BY(m_mutex) = 0;
};

} // namespace qel::internal
