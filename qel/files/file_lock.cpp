#include <qel/files/file_lock.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/file_lock.h>
#include <qel/platform/system_error.h>

namespace qel {

FileLock::FileLock(const char* path) : m_path(path ? path : "") {
    const platform::FileError error = platform::openLockFile(m_file, m_path.c_str());
    if (error && error != std::errc::file_exists)
        logging::error() << "failed to open lock file, err=" << platform::errorText(error.value());
}

void FileLock::lock() {
    if (m_file.isOpen()) platform::lockFile(m_file);
}

bool FileLock::tryLock() {
    return m_file.isOpen() && !platform::tryLockFile(m_file);
}

void FileLock::unlock() {
    if (m_file.isOpen()) platform::unlockFile(m_file);
}

} // namespace qel
