#include <qel/system/tasks/task_queue.h>

#include <qel/platform/cpu.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/brief_lock_p.h>
#include <qel/system/tasks/main_pool.h>
#include <qel/system/tasks/thread_pool.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

namespace qel {

/// One push. Several workers may take its runs at the same time without the lock.
struct TaskQueue::Entry {
    Task* task = nullptr;
    std::atomic<int64> remaining{0}; // runs not yet taken; below 0 when several workers found none
    uint32 workload = 0;
    uint32 users = 0; // workers that take runs from it; under the queue's mutex
    Entry* next = nullptr;
};

TaskQueue::SegmentInParts::SegmentInParts(uint32 totalCount)
    : total(totalCount), parts(std::min(2 * system()->getProcessorCount(), totalCount)) {}

TaskQueue::TaskQueue(Type type, int queueID) : m_type(type), m_queueID(queueID) {}

TaskQueue::~TaskQueue() {
    disable();
    Dropped dropped;
    BriefLock lock(m_mutex);
    dropSegmentsLocked(dropped); // a paused main queue still has some
    lock.unlock();
    release(dropped);
    deleteAll(m_spares);
}

void TaskQueue::pushTask(Task* task, unsigned workload) {
    pushTaskN(1, task, workload);
}

void TaskQueue::pushTaskN(unsigned count, Task* task, unsigned workload) {
    if (count == 0) return;
    if (isAborting()) {
        if (task->getReferenceCount() == 0) delete task;
        return;
    }
    task->increaseReferenceCountBy(count);
    if (workload != 0) m_workload.fetch_add(count * workload, std::memory_order_relaxed);

    BriefLock lock(m_mutex);
    Entry* entry = std::exchange(m_spares, m_spares ? m_spares->next : nullptr);
    if (!entry) {
        lock.unlock();
        entry = new Entry;
        lock.lock();
    }
    entry->task = task;
    entry->remaining.store(count, std::memory_order_relaxed);
    entry->workload = workload;
    entry->next = nullptr;
    if (!m_segments.empty()) return append(m_segments.back(), entry);
    append(m_current, entry);
    if (!isParallelQueue() && activeCount() != 0) return; // the run in progress will find it
    const uint32 runs = isParallelQueue() ? count : 1;
    setActiveCountLocked(activeCount() + runs);
    lock.unlock();
    schedule(runs);
}

void TaskQueue::schedule(uint32 runs) {
    if (isMainQueue()) {
        system()->getMainPool()->pushMainQueue(this);
    } else {
        system()->getThreadPool()->pushQueue(runs, this, isHighPriQueue());
    }
}

void TaskQueue::pushBarrier() {
    BriefLock lock(m_mutex);
    if (activeCount() != 0) m_segments.emplace_back();
}

void TaskQueue::processTasks() {
    Entries used;
    BriefLock lock(m_mutex);
    ++m_runningCount;
    do {
        while (takesBatches() && m_current.first) {
            takeBatchLocked();
            lock.unlock();
            runBatch(used);
            linger();
            lock.lock();
            if (!m_spares) m_spares = std::exchange(used, {}).first;
        }
        while (Entry* entry = takeFrontLocked()) {
            lock.unlock();
            runEntry(*entry);
            lock.lock();
            leaveLocked(entry);
        }
    } while (startNextSegmentLocked());
    --m_runningCount;
    setActiveCountLocked(activeCount() - 1);
    lock.unlock();
    deleteAll(used.first);
}

/// Runs what takeBatchLocked() took. Adds the entries to @p used, up to a number that is enough for a pusher
/// that is about as fast.
void TaskQueue::runBatch(Entries& used) {
    constexpr uint32 kMostSpares = 256;
    while (Entry* entry = popBatch()) {
        runEntry(*entry);
        if (used.count == kMostSpares) {
            delete entry;
            continue;
        }
        entry->next = std::exchange(used.first, entry);
        ++used.count;
    }
}

void TaskQueue::deleteAll(Entry* entry) {
    while (entry) delete std::exchange(entry, entry->next);
}

/// Takes all runs that may start now.
void TaskQueue::takeBatchLocked() {
    m_batchCount.store(m_current.count, std::memory_order_relaxed);
    m_batch.store(m_current.first);
    m_current = {};
}

/// Takes the next entry of the batch and leaves the rest to disable(). The two need no lock: a thread that
/// aborts sets the flag before it takes the batch, and this one looks at the flag after it has put the rest
/// back.
TaskQueue::Entry* TaskQueue::popBatch() {
    Entry* const entry = m_batch.exchange(nullptr);
    if (!entry) return nullptr;
    m_batch.store(entry->next);
    if (m_aborting.load()) {
        Dropped dropped;
        dropBatch(dropped);
        release(dropped);
    }
    return entry;
}

/// Spins about a microsecond for pushes that follow the batch: if the run ended in between, each task would
/// cost both sides a round through the pool, and if it took each push at once, they would compete for the
/// lock. Does not wait while a thread waits for the end of the queue or the pool has other work.
void TaskQueue::linger() const {
    constexpr int kRounds = 50;
    const ThreadPool& pool = *system()->getThreadPool();
    for (int round = 0; round < kRounds; ++round) {
        if (hasBriefWaiter() || isAborting()) return;
        if (pool.hasPendingRuns() || pool.isEveryProcessorBusy()) return;
        platform::relaxCpu();
    }
}

TaskQueue::Entry* TaskQueue::takeFrontLocked() {
    while (Entry* entry = m_current.first) {
        if (entry->remaining.load(std::memory_order_relaxed) > 0) {
            ++entry->users;
            return entry;
        }
        removeFirst(m_current);
        if (entry->users == 0) delete entry;
    }
    return nullptr;
}

void TaskQueue::leaveLocked(Entry* entry) {
    if (--entry->users != 0) return;
    if (m_current.first == entry) removeFirst(m_current);
    delete entry;
}

void TaskQueue::runEntry(Entry& entry) {
    uint32 endedRuns = 0;
    int64 index = 0;
    do {
        index = entry.remaining.fetch_sub(1, std::memory_order_relaxed) - 1;
        if (index < 0) break;
        if (index == 0 && takesBatches()) m_batchCount.fetch_sub(1, std::memory_order_relaxed);
        TaskContext context(this, static_cast<uint32>(index), entry.workload);
        if (!isAborting()) entry.task->execute(context);
        if (context.m_workload != 0) m_workload.fetch_sub(context.m_workload, std::memory_order_relaxed);
        // Runs of a parallel queue end in no particular order, so their references are released together.
        if (isParallelQueue()) {
            ++endedRuns;
        } else {
            entry.task->decreaseReferenceCount();
        }
    } while (index > 0);
    if (endedRuns != 0) entry.task->decreaseReferenceCountBy(endedRuns);
}

bool TaskQueue::startNextSegmentLocked() {
    // Runs that no worker has begun would have nothing to do.
    if (activeCount() > m_runningCount) withdrawRunsLocked();
    if (activeCount() != 1 || m_segments.empty()) return false;

    m_current = m_segments.front();
    m_segments.pop_front();
    if (!isParallelQueue()) return true;
    int64 runs = -1; // this run continues
    for (Entry* entry = m_current.first; entry; entry = entry->next) runs += entry->remaining;
    if (runs >= 1) {
        setActiveCountLocked(activeCount() + static_cast<uint32>(runs));
        system()->getThreadPool()->pushQueueFromWorker(static_cast<uint32>(runs), this, isHighPriQueue());
    }
    return true;
}

void TaskQueue::withdrawRunsLocked() {
    if (isMainQueue()) return;
    const uint32 withdrawn = system()->getThreadPool()->withdrawQueue(this, isHighPriQueue());
    setActiveCountLocked(activeCount() - withdrawn);
}

void TaskQueue::setActiveCountLocked(uint32 count) {
    m_activeCount.store(count, std::memory_order_relaxed);
    if (count == 0 && !isMainQueue())
        m_idle.notify_all(); // under the lock: the queue may be destroyed right after
}

void TaskQueue::pause() {
    MutexLock lock(m_mutex);
    while (activeCount() != 0) m_idle.wait(lock.standard());
    if (m_segments.empty()) m_segments.emplace_back();
}

void TaskQueue::resume() {
    BriefLock lock(m_mutex);
    if (m_segments.empty() || activeCount() != 0) return;
    const uint32 runs = isParallelQueue() ? std::max(m_segments.front().count, uint32{1}) : 1;
    setActiveCountLocked(runs);
    lock.unlock();
    system()->getThreadPool()->pushQueue(runs, this, isHighPriQueue());
}

void TaskQueue::abort() {
    disable();
    m_aborting.store(false, std::memory_order_release);
}

void TaskQueue::disable() {
    if (m_aborting.exchange(true)) return;
    isMainQueue() ? disableMainQueue() : disableWorkerQueue();
}

void TaskQueue::disableMainQueue() {
    Dropped dropped;
    BriefLock lock(m_mutex);
    if (activeCount() == 0) return;
    dropEntriesLocked(m_current, dropped);
    system()->getMainPool()->removeMainQueue(this);
    lock.unlock();
    release(dropped);
}

void TaskQueue::disableWorkerQueue() {
    MutexLock lock(m_mutex);
    while (true) {
        Dropped dropped;
        dropSegmentsLocked(dropped);
        dropEntriesLocked(m_current, dropped);
        dropBatch(dropped);
        if (dropped.empty()) {
            if (activeCount() > m_runningCount) withdrawRunsLocked();
            if (activeCount() == 0) return;
            m_idle.wait(lock.standard());
            continue;
        }
        lock.unlock();
        release(dropped); // the destructor of a task may use the queue
        lock.lock();
    }
}

void TaskQueue::dropSegmentsLocked(Dropped& dropped) {
    for (Entries& entries : m_segments) dropEntriesLocked(entries, dropped);
    m_segments.clear();
}

void TaskQueue::dropEntriesLocked(Entries& entries, Dropped& dropped) {
    while (Entry* entry = entries.first) {
        removeFirst(entries);
        drop(*entry, dropped);
        if (entry->users == 0) delete entry; // otherwise its last user does
    }
}

void TaskQueue::dropBatch(Dropped& dropped) {
    for (Entry* entry = m_batch.exchange(nullptr); entry;) {
        Entry* const next = entry->next;
        drop(*entry, dropped);
        m_batchCount.fetch_sub(1, std::memory_order_relaxed);
        delete entry;
        entry = next;
    }
}

/// Removes the runs that nobody has begun from the entry.
void TaskQueue::drop(Entry& entry, Dropped& dropped) {
    const int64 count = entry.remaining.exchange(0);
    if (count <= 0) return;
    dropped.emplace_back(entry.task, static_cast<uint32>(count));
    m_workload.fetch_sub(static_cast<uint32>(count) * entry.workload, std::memory_order_relaxed);
}

void TaskQueue::release(const Dropped& dropped) {
    for (const auto& [task, count] : dropped) task->decreaseReferenceCountBy(count);
}

void TaskQueue::wait() {
    if (!isMainQueue()) waitBriefly();
    MutexLock lock(m_mutex);
    while (activeCount() != 0) m_idle.wait(lock.standard());
}

/// Spins for some microseconds, which saves the cost of sleeping and being woken. While a thread waits like
/// this, workers leave it to that thread to call further workers, since short tasks do not need them. A
/// worker that has yet to wake up may have been assigned to this very processor, so the thread yields to it.
void TaskQueue::waitBriefly() {
    constexpr int kRoundOfCall = 32;
    constexpr int kRoundsOfWarmPool = 8; // in which a worker that is awake begins
    constexpr std::chrono::microseconds kLongest{
        200}; // of a wait that saves time; else others need the processor
    if (activeCount() == 0) return;
    ThreadPool& pool = *system()->getThreadPool();
    const auto start = std::chrono::steady_clock::now();
    const int rounds = m_waitBudget.rounds();
    m_briefWaiters.fetch_add(1);
    for (int round = 0; round < rounds && activeCount() != 0; ++round) {
        if (round >= kRoundsOfWarmPool && pool.isWaking()) {
            std::this_thread::yield();
        } else {
            platform::relaxCpu();
        }
        if (round < kRoundOfCall) continue;
        if (round == kRoundOfCall) pool.callWorkerForPendingRuns();
        if (pool.isEveryProcessorBusy()) break;
    }
    m_briefWaiters.fetch_sub(1);
    m_waitBudget.note(activeCount() == 0 && std::chrono::steady_clock::now() - start < kLongest);
    if (activeCount() != 0) pool.callWorkerForPendingRuns();
}

bool TaskQueue::empty() const {
    BriefLock lock(m_mutex);
    return activeCount() == 0;
}

unsigned TaskQueue::getNumberOfQueuedTasks() const {
    BriefLock lock(m_mutex);
    const Entry* first = m_current.first;
    const bool firstIsTaken = first && first->remaining.load(std::memory_order_relaxed) <= 0;
    return m_batchCount.load(std::memory_order_relaxed) + m_current.count - (firstIsTaken ? 1 : 0);
}

void TaskQueue::append(Entries& entries, Entry* entry) {
    (entries.last ? entries.last->next : entries.first) = entry;
    entries.last = entry;
    ++entries.count;
}

void TaskQueue::removeFirst(Entries& entries) {
    entries.first = entries.first->next;
    if (!entries.first) entries.last = nullptr;
    --entries.count;
}

void TaskContext::changeWorkload(unsigned workload) {
    if (workload == m_workload) return;
    m_queue->m_workload.fetch_add(workload - m_workload, std::memory_order_relaxed);
    m_workload = workload;
}

} // namespace qel
