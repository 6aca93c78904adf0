#include <qel/files/directory.h>

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/file_system.h>
#include <qel/system/core/system.h>

namespace qel {

namespace {

bool isDirectory(SmartCStr path) {
    bool result = false;
    return File::checkIfDirectory(path, result) && result;
}

bool logNotCreated(SmartCStr path) {
    logging::error() << "failed to create directory '" << path.c_str() << "'";
    return false;
}

} // namespace

bool Directory::createDirectory(SmartCStr path) {
    return !platform::makeDirectory(path) || isDirectory(path) || logNotCreated(path);
}

// Goes up to the nearest existing folder and then down again, without recursion.
bool Directory::createDirectoryRecursively(SmartCStr path) {
    if (isDirectory(path)) return true;
    const String whole = path;
    for (size_t slash = whole.find('/', 1); slash != whole.npos; slash = whole.find('/', slash + 1)) {
        const String above = whole.substr(0, slash);
        if (!isDirectory(above) && !createDirectory(above)) return false;
    }
    return createDirectory(path);
}

String Directory::createTemporaryDirectory(SmartCStr base) {
    static Mutex mutex;
    const MutexLock lock(mutex);
    String prefix = base;
    File::pathEndWithSeparator(prefix);
    for (;;) {
        const String path = prefix + std::to_string(system()->randomUInt());
        const platform::FileError error = platform::makeDirectory(path.c_str());
        if (!error) return path;
        if (error == std::errc::file_exists) continue;
        logNotCreated(path);
        return String();
    }
}

} // namespace qel
