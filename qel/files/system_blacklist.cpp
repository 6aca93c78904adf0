#include <qel/system/core/system.h>

namespace qel {

void System::addPathToFilesystemBlacklist(SmartCStr path) {
    const MutexLock lock(m_filesystemBlacklistMutex);
    m_filesystemBlacklist.emplace(path.c_str());
}

void System::removePathFromFilesystemBlacklist(SmartCStr path) {
    const MutexLock lock(m_filesystemBlacklistMutex);
    m_filesystemBlacklist.erase(path.c_str());
}

} // namespace qel
