#include <qel/system/core/system.h>

#include <qel/files/deletion_p.h>
#include <qel/files/file.h>

namespace qel {

void System::addPathToFilesystemBlacklist(SmartCStr path) {
    const String hostPath = internal::hostPath(path);
    const MutexLock lock(m_filesystemBlacklistMutex);
    m_filesystemBlacklist.emplace(hostPath);
}

// The path may have been deleted since it was added, so its form can no longer depend on whether it exists.
void System::removePathFromFilesystemBlacklist(SmartCStr path) {
    String converted = path;
    File::pathSeparatorToHost(converted);
    const MutexLock lock(m_filesystemBlacklistMutex);
    if (m_filesystemBlacklist.erase(path.c_str()) == 0) m_filesystemBlacklist.erase(converted);
}

} // namespace qel
