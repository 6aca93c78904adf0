// GlobalMutex: a named lock shared by all processes of the machine.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/platform/file_system.h>

#include <memory>

namespace qel {

/// Opens a mutex of the operating system by its name. The host that owns the mutex must create it first; an
/// object that does not find it has no mutex, and its calls fail harmlessly. The system releases the lock of
/// a process that has ended. For data on disk use FileLock.
/// @threads one thread at a time.
class QEL_API GlobalMutex : public Object {
    QEL_CLASS(GlobalMutex, Object)

public:
    /// Opens the mutex @p name if it exists.
    explicit GlobalMutex(const char* name);
    /// Shares the mutex that @p other opened: a lock taken by one is held by both.
    GlobalMutex(const GlobalMutex& other) = default;
    GlobalMutex& operator=(const GlobalMutex&) = delete;

    /// Creates the mutex @p name for all users of the machine until its restart; does nothing if it exists.
    /// @return true if it exists now.
    static bool create(const char* name);

    /// Waits for the mutex without limit. If it is already held, nothing changes, and one unlock() still
    /// releases it.
    void lock();
    /// Takes the mutex if it is free, also after the end of its holder's process. @return true if it is held
    /// now.
    bool tryLock();
    /// Releases the mutex.
    void unlock();

private:
    std::shared_ptr<platform::FileHandle> m_handle; // never null; closed if there is no such mutex
};

} // namespace qel
