// FileLock: an exclusive lock on a file, between processes and within one.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/file_system.h>

namespace qel {

/// A lock for data on disk. The system releases it when its process ends for any reason, and the next process
/// takes it at once. Two FileLock objects on one path exclude each other, even in one process. The lock is
/// advisory.
/// @threads one thread at a time.
class QEL_API FileLock : public Object {
    QEL_CLASS(FileLock, Object)

public:
    /// Opens the file, which is created if missing; nothing is locked yet.
    /// @errors logs "failed to open lock file, err=" and the system's text; lock() then does nothing.
    explicit FileLock(const char* path);
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    /// Waits for the lock. If it is already held, nothing changes, and one unlock() still releases it.
    void lock();
    /// Takes the lock if it is free. @return true if this object holds it now.
    bool tryLock();
    /// Releases the lock.
    void unlock();

private:
    String m_path;
    platform::FileHandle m_file;
};

/// Holds a FileLock during a scope.
class FileLockGuard {
public:
    /// Waits for @p lock. @owner it must outlive the guard.
    explicit FileLockGuard(FileLock* lock) : m_lock(lock) { m_lock->lock(); }
    FileLockGuard(const FileLockGuard&) = delete;
    FileLockGuard& operator=(const FileLockGuard&) = delete;
    ~FileLockGuard() { m_lock->unlock(); }

private:
    FileLock* m_lock;
};

} // namespace qel
