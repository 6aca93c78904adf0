// A standard mutex that the compiler's thread-safety analysis can follow.
#pragma once

#include <mutex>

#if defined(__clang__)
#define QEL_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define QEL_THREAD_ANNOTATION(x)
#endif

/// Marks a class whose objects are locks.
#define QEL_CAPABILITY(name) QEL_THREAD_ANNOTATION(capability(name))
/// Marks a class that locks in its constructor and unlocks in its destructor.
#define QEL_SCOPED_CAPABILITY QEL_THREAD_ANNOTATION(scoped_lockable)
/// The field may only be touched while the named mutex is held.
#define QEL_GUARDED_BY(mutex) QEL_THREAD_ANNOTATION(guarded_by(mutex))
/// The object that the pointer field points to may only be touched while the named mutex is held.
#define QEL_POINTER_GUARDED_BY(mutex) QEL_THREAD_ANNOTATION(pt_guarded_by(mutex))
/// The caller must hold the mutex; names of such functions end in Locked.
#define QEL_REQUIRES(...) QEL_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// The caller must not hold the mutex.
#define QEL_EXCLUDES(...) QEL_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
/// The function locks the mutex and returns with it held.
#define QEL_ACQUIRE(...) QEL_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
/// The function locks the mutex when it returns the given value.
#define QEL_TRY_ACQUIRE(...) QEL_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
/// The function unlocks the mutex.
#define QEL_RELEASE(...) QEL_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
/// The mutex must be taken before the named ones.
#define QEL_ACQUIRED_BEFORE(...) QEL_THREAD_ANNOTATION(acquired_before(__VA_ARGS__))
/// The function returns the named mutex.
#define QEL_RETURN_CAPABILITY(mutex) QEL_THREAD_ANNOTATION(lock_returned(mutex))
/// Exempts a function from the analysis; a comment beside it explains why it is correct.
#define QEL_NO_THREAD_ANALYSIS QEL_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace qel {

/// A std::mutex with annotations. It stays usable wherever a std::mutex is asked for, so that hosts can
/// lock the library's shared mutexes with the standard guards.
class QEL_CAPABILITY("mutex") Mutex : public std::mutex {
public:
    /// Blocks until the mutex is held. @errors std::system_error as std::mutex.
    void lock() QEL_ACQUIRE() { std::mutex::lock(); }
    /// Unlocks the mutex; the caller must hold it.
    void unlock() QEL_RELEASE() { std::mutex::unlock(); }
    /// Locks the mutex if it is free. @return true if it is now held.
    bool try_lock() QEL_TRY_ACQUIRE(true) { return std::mutex::try_lock(); }
};

/// Holds a Mutex for a scope; can unlock it and lock it again in between.
class QEL_SCOPED_CAPABILITY MutexLock {
public:
    /// Blocks until @p mutex is held; it must outlive the lock.
    explicit MutexLock(Mutex& mutex) QEL_ACQUIRE(mutex) : m_lock(mutex) {}
    ~MutexLock() QEL_RELEASE() {}
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    /// Locks the mutex again after unlock().
    void lock() QEL_ACQUIRE() { m_lock.lock(); }
    /// Unlocks the mutex before the scope ends.
    void unlock() QEL_RELEASE() { m_lock.unlock(); }
    /// Returns the standard lock, for waiting on a std::condition_variable.
    std::unique_lock<std::mutex>& standard() { return m_lock; }

private:
    std::unique_lock<std::mutex> m_lock;
};

} // namespace qel
