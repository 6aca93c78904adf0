// MainPool: the queues that run on the main thread.
#pragma once

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/object.h>
#include <qel/platform/api.h>

#include <atomic>
#include <deque>

namespace qel {

class TaskQueue;

/// Runs main queues on the main thread, once in each pass of System::processEvents.
class QEL_API MainPool : public Object {
    QEL_CLASS(MainPool, Object)

public:
    MainPool() = default;
    MainPool(const MainPool&) = delete;
    MainPool& operator=(const MainPool&) = delete;

    /// Runs @p queue in the next pass. @owner the queue removes itself when it is destroyed. @threads any
    /// thread.
    void pushMainQueue(TaskQueue* queue);
    /// Removes every push of @p queue. @threads any thread.
    void removeMainQueue(TaskQueue* queue);
    /// Runs the queues that were pushed since the last call; queues pushed meanwhile wait for the next call.
    /// @threads main thread.
    void processEvents();
    /// Returns true if a queue waits for the next pass. @threads any thread.
    bool hasWork() const { return m_hasIncoming.load(std::memory_order_relaxed); }

private:
    void takeIncoming();
    TaskQueue* takeNext();

    Mutex m_mutex; // taken after every queue's
    std::deque<TaskQueue*> m_current QEL_GUARDED_BY(m_mutex);
    std::deque<TaskQueue*> m_incoming QEL_GUARDED_BY(m_mutex);
    std::atomic<bool> m_hasIncoming{false}; // lets an idle pass do without the lock
};

} // namespace qel
