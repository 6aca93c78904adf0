// BackgroundQueue: runs work beside the main thread.
#pragma once

#include <qel/system/tasks/task_queue.h>

#include <functional>
#include <memory>

namespace qelviewer {

/// Runs pieces of work on a worker, one after the other.
/// @threads main thread.
class BackgroundQueue {
public:
    BackgroundQueue();
    BackgroundQueue(const BackgroundQueue&) = delete;
    BackgroundQueue& operator=(const BackgroundQueue&) = delete;
    /// Drops waiting work and all calls of finishing functions, and waits until the worker has stopped.
    ~BackgroundQueue();

    /// Calls @p work on the worker, and then @p finish on the main thread in a pass of System.
    void push(std::function<void()> work, std::function<void()> finish = {});
    /// Returns true until the worker has done everything. Finishing functions may follow.
    bool isRunning() const { return !m_queue.empty(); }
    /// Waits until the worker has done everything.
    void wait() { m_queue.wait(); }

private:
    const std::shared_ptr<bool> m_isAlive; ///< used by the main thread only
    qel::TaskQueue m_queue;
};

} // namespace qelviewer
