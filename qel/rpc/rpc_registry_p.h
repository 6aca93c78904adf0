// RpcRegistry: what a provider shares with its local calls, which may outlive it.
#pragma once

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/rpc/rpc_context_internal.h>
#include <qel/system/tasks/task_queue.h>

#include <memory>
#include <unordered_map>

namespace qel::internal {

/// The handlers and rights by name, and the way to the provider's queue for as long as it lives.
/// @threads the maps belong to the main thread.
class RpcRegistry : public Object {
    QEL_CLASS(RpcRegistry, Object)

public:
    explicit RpcRegistry(TaskQueue* queue) : m_queue(queue) {}

    /// Queues @p task. @return false when the provider has died. @threads any thread.
    bool post(TaskQueue::Task* task) {
        const MutexLock lock(m_mutex);
        if (m_queue) m_queue->pushTask(task, 0);
        return m_queue != nullptr;
    }
    /// Whether the provider has died. @threads any thread.
    bool isClosed() {
        const MutexLock lock(m_mutex);
        return m_queue == nullptr;
    }
    /// The provider dies: nothing is queued any more.
    void close() {
        const MutexLock lock(m_mutex);
        m_queue = nullptr;
    }

    std::unordered_map<String, std::shared_ptr<const RpcFunction>> handlers;
    std::unordered_map<String, String> rights;

private:
    Mutex m_mutex; // before the queue's
    TaskQueue* m_queue QEL_GUARDED_BY(m_mutex);
};

} // namespace qel::internal
