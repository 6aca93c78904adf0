#include <qel/files/global_mutex.h>

#include <qel/platform/file_lock.h>
#include <qel/platform/named_mutex.h>

namespace qel {

GlobalMutex::GlobalMutex(const char* name) : m_handle(std::make_shared<platform::FileHandle>()) {
    platform::openNamedMutex(*m_handle, name ? name : "");
}

bool GlobalMutex::create(const char* name) {
    platform::FileHandle handle;
    return !platform::createNamedMutex(handle, name ? name : "");
}

void GlobalMutex::lock() {
    if (m_handle->isOpen()) platform::lockFile(*m_handle);
}

bool GlobalMutex::tryLock() {
    return m_handle->isOpen() && !platform::tryLockFile(*m_handle);
}

void GlobalMutex::unlock() {
    if (m_handle->isOpen()) platform::unlockFile(*m_handle);
}

} // namespace qel
