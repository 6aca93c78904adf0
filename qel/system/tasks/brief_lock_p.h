// BriefLock: holds a mutex under which nobody stays long.
#pragma once

#include <qel/foundation/base/mutex.h>
#include <qel/platform/cpu.h>

namespace qel {

/// As MutexLock, but it tries for a moment before it sleeps: behind these mutexes stand a few instructions,
/// and a sleep would cost a hundred times as much as the wait.
class QEL_SCOPED_CAPABILITY BriefLock {
public:
    explicit BriefLock(Mutex& mutex) QEL_ACQUIRE(mutex) : m_mutex(mutex) { acquire(); }
    ~BriefLock() QEL_RELEASE() {
        if (m_held) m_mutex.unlock();
    }
    BriefLock(const BriefLock&) = delete;
    BriefLock& operator=(const BriefLock&) = delete;

    /// Takes the mutex again after unlock().
    void lock() QEL_ACQUIRE() { acquire(); }
    /// Lets go of the mutex before the scope ends.
    void unlock() QEL_RELEASE() {
        m_held = false;
        m_mutex.unlock();
    }

private:
    // The analysis doesn't follow a lock through a member, so the public functions state the contract.
    void acquire() QEL_NO_THREAD_ANALYSIS {
        constexpr int kTries = 100;
        m_held = true;
        for (int i = 0; i < kTries; ++i) {
            if (m_mutex.try_lock()) return;
            platform::relaxCpu();
        }
        m_mutex.lock();
    }

    Mutex& m_mutex;
    bool m_held = false;
};

} // namespace qel
