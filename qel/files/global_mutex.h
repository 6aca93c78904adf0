// GlobalMutex: a lock with a name that all processes of the machine share.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/platform/file_system.h>

#include <memory>

namespace qel {

/// Opens a mutex of the operating system by its name. The host that owns the mutex makes it before; an object
/// that finds none stays without, and its calls fail harmlessly. The lock of a process that has ended is
/// free. For data on disk there is FileLock.
/// @threads one thread at a time.
class QEL_API GlobalMutex : public Object {
    QEL_CLASS(GlobalMutex, Object)

public:
    /// Opens the mutex @p name if there is one.
    explicit GlobalMutex(const char* name);
    /// Shares the mutex as @p other opened it: what one has locked, both have.
    GlobalMutex(const GlobalMutex& other) = default;
    GlobalMutex& operator=(const GlobalMutex&) = delete;

    /// Makes the mutex @p name, for all users of the machine until its restart; one that exists stays.
    /// @return whether there is one now.
    static bool create(const char* name);

    /// Waits for the mutex without limit. One that it has already is kept, and given back by one unlock().
    void lock();
    /// Takes the mutex if nobody has it; also when its holder died with it. @return whether it has it now.
    bool tryLock();
    /// Gives the mutex back.
    void unlock();

private:
    std::shared_ptr<platform::FileHandle> m_handle; // never null; closed when there is no such mutex
};

} // namespace qel
