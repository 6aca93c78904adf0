// BriefLock: holds a mutex that is only ever held for a few instructions.
#pragma once

#include <qel/foundation/base/mutex.h>
#include <qel/platform/cpu.h>

namespace qel {

/// Like MutexLock, but spins for a moment before it sleeps: these mutexes are held for a few instructions,
/// and sleeping would cost a hundred times as much as the wait.
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
    /// Releases the mutex before the scope ends.
    void unlock() QEL_RELEASE() {
        m_held = false;
        m_mutex.unlock();
    }

private:
    // The analysis does not follow a lock through a member, so the public functions state the contract.
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
