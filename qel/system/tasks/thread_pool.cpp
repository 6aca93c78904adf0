#include <qel/system/tasks/thread_pool.h>

#include <qel/platform/cpu.h>
#include <qel/platform/crash.h>
#include <qel/platform/thread.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/brief_lock_p.h>
#include <qel/system/tasks/task_queue.h>

#include <algorithm>
#include <exception>
#include <system_error>
#include <utility>

namespace qel {

namespace {

constexpr uint32 kSweepPeriodMs = 3000;
constexpr uint32 kIdleTimeMs = 30000;

} // namespace

ThreadPool::ThreadPool()
    : m_idleLimit(system()->getProcessorCount() + 1),
      m_processorCount(system()->getProcessorCount()),
      m_lastSweepTime(system()->getTimeFast()),
      m_maxThreads(m_idleLimit) {}

ThreadPool::~ThreadPool() {
    MutexLock lock(m_mutex);
    m_running = false;
    while (m_threads != 0) {
        m_wake.notify_all();
        m_wake.wait(lock.standard());
    }
}

void ThreadPool::pushQueue(unsigned units, TaskQueue* queue, bool highPriority) {
    std::exception_ptr failure; // reported at the end, because enqueue() has counted all the workers
    for (uint32 starts = enqueue(units, queue, highPriority); starts != 0; --starts) {
        try {
            startWorker();
        } catch (const std::system_error&) {
            failure = std::current_exception();
        }
    }
    if (failure) std::rethrow_exception(failure);
}

/// Like pushQueue, but ignores that a thread cannot be started, since the caller itself works on.
void ThreadPool::pushQueueFromWorker(unsigned units, TaskQueue* queue, bool highPriority) {
    for (uint32 starts = enqueue(units, queue, highPriority); starts != 0; --starts) tryStartWorker();
}

/// Schedules the runs. @return the number of workers that the caller has to start; they are already counted.
uint32 ThreadPool::enqueue(unsigned units, TaskQueue* queue, bool highPriority) {
    BriefLock lock(m_mutex);
    std::deque<Runs>& runs = m_runs[highPriority ? 1 : 0];
    if (!runs.empty() && runs.back().queue == queue) {
        runs.back().units += units;
    } else {
        runs.push_back({queue, units});
    }
    addPendingLocked(units);
    const int64 starts = std::min(int64{units} - m_idleThreads, int64{m_maxThreads} - m_threads);
    if (starts > 0) m_threads += static_cast<uint32>(starts);
    const bool call = callWorkerLocked();
    lock.unlock();
    if (call) m_wake.notify_one();
    return starts > 0 ? static_cast<uint32>(starts) : 0;
}

unsigned ThreadPool::withdrawQueue(TaskQueue* queue, bool highPriority) {
    BriefLock lock(m_mutex);
    uint32 withdrawn = 0;
    std::erase_if(m_runs[highPriority ? 1 : 0], [&](const Runs& runs) {
        if (runs.queue != queue) return false;
        withdrawn += runs.units;
        return true;
    });
    addPendingLocked(0 - withdrawn);
    return withdrawn;
}

void ThreadPool::startWorker() {
    try {
        platform::startThread([this] {
            const platform::CrashStack crashStack; // so that an overflow of the stack leaves a dump
            work();
        }).detach();
    } catch (const std::system_error&) {
        BriefLock lock(m_mutex);
        --m_threads;
        m_wake.notify_all(); // the destructor may wait for this one
        throw;
    }
}

void ThreadPool::tryStartWorker() {
    try {
        startWorker();
    } catch (const std::system_error&) {
        // The existing workers do the work.
    }
}

void ThreadPool::processEvents() {
    const uint32 now = system()->getTimeFast();
    if (now - m_lastSweepTime < kSweepPeriodMs) return;
    m_lastSweepTime = now;
    BriefLock lock(m_mutex);
    if (m_idleThreads > m_idleLimit) {
        m_wakes = m_asleep;
        m_wake.notify_all();
    }
    const bool lacksWorker = m_threads == 0 && m_pendingUnits != 0; // none could be started before
    if (!lacksWorker) return;
    ++m_threads;
    lock.unlock();
    tryStartWorker();
}

unsigned ThreadPool::getNumberOfThreads() const {
    BriefLock lock(m_mutex);
    return m_threads;
}

unsigned ThreadPool::getNumberOfIdleThreads() const {
    BriefLock lock(m_mutex);
    return m_idleThreads;
}

void ThreadPool::work() {
    uint32 lastWork = system()->getTimeFast();
    bool isWarm = false; // has just worked, so more work may come at once
    BriefLock lock(m_mutex);
    while (m_running) {
        if (TaskQueue* queue = takeUnitLocked()) {
            const bool isIO = queue->isIOQueue();
            const bool call = !queue->hasBriefWaiter() && callWorkerLocked();
            const bool start = countRunInLocked(*queue);
            lock.unlock();
            if (call) m_wake.notify_one();
            if (start) tryStartWorker();
            queue->processTasks(); // the queue may be gone afterwards
            lastWork = system()->getTimeFast();
            lock.lock();
            countRunOutLocked(isIO);
            isWarm = true;
            continue;
        }
        if (m_idleThreads >= m_idleLimit && system()->getTimeFast() - lastWork > kIdleTimeMs) break;
        ++m_idleThreads;
        if (isWarm && m_spinning + 1 < m_processorCount) {
            ++m_spinning;
            lock.unlock();
            lookOut();
            lock.lock();
            --m_spinning;
        } else {
            sleepLocked();
        }
        --m_idleThreads;
        isWarm = false;
    }
    --m_threads;
    m_wake.notify_all();
}

TaskQueue* ThreadPool::takeUnitLocked() {
    for (std::deque<Runs>* runs : {&m_runs[1], &m_runs[0]}) {
        if (runs->empty()) continue;
        TaskQueue* queue = runs->front().queue;
        if (--runs->front().units == 0) runs->pop_front();
        addPendingLocked(static_cast<uint32>(-1));
        return queue;
    }
    return nullptr;
}

/// Counts a run that begins. A thread that blocks on IO uses no processor, so another one may take its place.
/// @return true if the caller has to start a worker, which is already counted.
bool ThreadPool::countRunInLocked(const TaskQueue& queue) {
    m_runningCount.fetch_add(1, std::memory_order_relaxed);
    if (!queue.isIOQueue()) return false;
    ++m_maxThreads;
    if (m_idleThreads != 0 || m_threads >= m_maxThreads) return false;
    ++m_threads;
    return true;
}

void ThreadPool::countRunOutLocked(bool isIO) {
    m_runningCount.fetch_sub(1, std::memory_order_relaxed);
    if (isIO) --m_maxThreads;
}

/// Calls a sleeping worker if there is more work than the spinning and the called workers can take. A called
/// worker calls the next one. @return true if the caller has to notify m_wake.
bool ThreadPool::callWorkerLocked() {
    const uint32 pending = m_pendingUnits.load(std::memory_order_relaxed);
    if (m_asleep <= m_wakes || pending <= m_spinning + m_wakes) return false;
    if (m_spinning != 0) return false; // calls the next one when it takes its unit
    ++m_wakes;
    return true;
}

void ThreadPool::callWorkerForPendingRuns() {
    BriefLock lock(m_mutex);
    const bool call = callWorkerLocked();
    lock.unlock();
    if (call) m_wake.notify_one();
}

bool ThreadPool::isEveryProcessorBusy() const {
    return m_runningCount.load(std::memory_order_relaxed) >= m_processorCount;
}

/// Spins for some microseconds until there is work, without the lock.
void ThreadPool::lookOut() {
    bool hasWork = false;
    for (int rounds = m_lookOutBudget.rounds(); rounds != 0 && !hasWork; --rounds) {
        platform::relaxCpu();
        hasWork = m_pendingUnits.load(std::memory_order_relaxed) != 0;
    }
    m_lookOutBudget.note(hasWork);
}

void ThreadPool::sleepLocked() {
    std::unique_lock<std::mutex> lock(m_mutex, std::adopt_lock);
    ++m_asleep;
    while (m_wakes == 0 && m_running) m_wake.wait(lock);
    --m_asleep;
    if (m_wakes != 0) --m_wakes;
    lock.release(); // the caller holds it again
}

void ThreadPool::addPendingLocked(uint32 units) {
    m_pendingUnits.store(m_pendingUnits.load(std::memory_order_relaxed) + units, std::memory_order_relaxed);
}

} // namespace qel
