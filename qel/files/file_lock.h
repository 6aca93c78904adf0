// FileLock: an exclusive lock on a file, between processes and within one.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/file_system.h>

namespace qel {

/// A lock for data on disk. It ends with its process, whatever the cause, and the next process takes over at
/// once. Each FileLock stands for itself: two on one path exclude each other, in one process too. It hinders
/// only those who use it.
/// @threads one thread at a time.
class QEL_API FileLock : public Object {
    QEL_CLASS(FileLock, Object)

public:
    /// Opens the file, which is made when it is missing; nothing is locked yet.
    /// @errors "failed to open lock file, err=" and the system's text is logged; lock() then does nothing.
    explicit FileLock(const char* path);
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    /// Waits for the lock. One that it has already is kept, and given back by one unlock().
    void lock();
    /// Takes the lock if nobody else has it. @return whether it has it now.
    bool tryLock();
    /// Gives the lock back.
    void unlock();

private:
    String m_path;
    platform::FileHandle m_file;
};

/// Has a FileLock for the length of a scope.
class FileLockGuard {
public:
    /// Waits for @p lock. @owner must outlive the guard.
    explicit FileLockGuard(FileLock* lock) : m_lock(lock) { m_lock->lock(); }
    FileLockGuard(const FileLockGuard&) = delete;
    FileLockGuard& operator=(const FileLockGuard&) = delete;
    ~FileLockGuard() { m_lock->unlock(); }

private:
    FileLock* m_lock;
};

} // namespace qel
