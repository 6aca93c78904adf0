#include <qel/system/tasks/main_pool.h>

#include <qel/system/tasks/brief_lock_p.h>
#include <qel/system/tasks/task_queue.h>

#include <algorithm>

namespace qel {

void MainPool::pushMainQueue(TaskQueue* queue) {
    BriefLock lock(m_mutex);
    m_incoming.push_back(queue);
    m_hasIncoming.store(true, std::memory_order_relaxed);
}

void MainPool::removeMainQueue(TaskQueue* queue) {
    BriefLock lock(m_mutex);
    std::erase(m_current, queue);
    std::erase(m_incoming, queue);
}

void MainPool::processEvents() {
    if (!hasWork()) return;
    takeIncoming();
    while (TaskQueue* queue = takeNext()) queue->processTasks();
}

void MainPool::takeIncoming() {
    BriefLock lock(m_mutex);
    m_current.clear();
    m_current.swap(m_incoming);
    m_hasIncoming.store(false, std::memory_order_relaxed);
}

TaskQueue* MainPool::takeNext() {
    BriefLock lock(m_mutex);
    if (m_current.empty()) return nullptr;
    TaskQueue* queue = m_current.front();
    m_current.pop_front();
    return queue;
}

} // namespace qel
