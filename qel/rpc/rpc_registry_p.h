// RpcRegistry: the part of a provider that its local calls share. They may outlive the provider.
#pragma once

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/rpc/rpc_context_internal.h>
#include <qel/system/tasks/task_queue.h>

#include <memory>
#include <unordered_map>

namespace qel::internal {

/// Holds the handlers and rights by name, and the provider's queue until the provider is destroyed.
/// @threads the maps are used on the main thread only.
class RpcRegistry : public Object {
    QEL_CLASS(RpcRegistry, Object)

public:
    explicit RpcRegistry(TaskQueue* queue) : m_queue(queue) {}

    /// Queues @p task. @return false if the provider was destroyed. @threads any thread.
    bool post(TaskQueue::Task* task) {
        const MutexLock lock(m_mutex);
        if (m_queue) m_queue->pushTask(task, 0);
        return m_queue != nullptr;
    }
    /// Returns true if the provider was destroyed. @threads any thread.
    bool isClosed() {
        const MutexLock lock(m_mutex);
        return m_queue == nullptr;
    }
    /// Detaches the queue, because the provider is being destroyed.
    void close() {
        const MutexLock lock(m_mutex);
        m_queue = nullptr;
    }

    std::unordered_map<String, std::shared_ptr<const RpcFunction>> handlers;
    std::unordered_map<String, String> rights;

private:
    Mutex m_mutex; // locked before the queue's
    TaskQueue* m_queue QEL_GUARDED_BY(m_mutex);
};

} // namespace qel::internal
