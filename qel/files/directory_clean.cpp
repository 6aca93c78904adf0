#include <qel/files/directory.h>

#include <qel/files/deletion_p.h>
#include <qel/files/whole_io_p.h>
#include <qel/platform/file_system.h>
#include <qel/system/core/system.h>

#include <fmt/format.h>

#include <algorithm>

namespace qel {

namespace {

struct Entry {
    String path;
    String name;
    bool isDirectory; // not a link to one
};

// Reads all names before the first is deleted. @return true if the folder was read to its end or does not
// exist.
template <typename Select>
bool selectEntries(Vector<Entry>& entries, SmartCStr path, bool silent, Select isWanted) {
    Directory directory;
    if (!directory.open(path)) {
        if (directory.getError() == std::errc::no_such_file_or_directory) return true;
        if (!silent) internal::warnNotDone(path, "read", directory.getError());
        return false;
    }
    File::FileInfo info;
    while (directory.read(info)) {
        Entry entry{directory.getPathWithSlash() + info.name, info.name, info.isDirectory && !info.isSymLink};
        if (isWanted(entry)) entries.push_back(std::move(entry));
    }
    return !directory.hasFailed();
}

template <typename Select>
Vector<Entry> selectEntries(SmartCStr path, bool silent, Select isWanted) {
    Vector<Entry> entries;
    selectEntries(entries, path, silent, isWanted);
    return entries;
}

bool deleteNowOrLater(SmartCStr origin, const Entry& entry, bool silent) {
    if (entry.isDirectory) return Directory::deleteDirectoryRecursivelyNowOrLater(origin, entry.path, silent);
    return File::deleteFileNowOrLater(origin, entry.path, silent);
}

int deleteAllNowOrLater(SmartCStr origin, const Vector<Entry>& entries, bool silent) {
    for (const Entry& entry : entries) deleteNowOrLater(origin, entry, silent);
    return static_cast<int>(entries.size());
}

// Thomas Wang's 32-bit integer hash.
uint32 mixBits(uint32 x) {
    x += ~(x << 15);
    x ^= x >> 10;
    x *= 9;
    x ^= x >> 6;
    x += ~(x << 11);
    return x ^ (x >> 16);
}

} // namespace

bool Directory::deleteDirectoryContentsRecursivelyNowOrLater(SmartCStr origin, SmartCStr path, bool silent) {
    Vector<Entry> entries;
    bool allGone = selectEntries(entries, path, silent, [](const Entry&) { return true; });
    for (const Entry& entry : entries) allGone = deleteNowOrLater(origin, entry, silent) && allGone;
    return allGone;
}

int Directory::cleanCacheDirectory(SmartCStr path, SmartCStr prefix, const Set<String>& keep) {
    const String start = "cache_" + String(prefix) + "_";
    const Vector<Entry> entries = selectEntries(path, false, [&](const Entry& entry) {
        String unixPath = entry.path;
        File::pathSeparatorToUnix(unixPath);
        return entry.name.starts_with(start) && entry.name.ends_with(".qel") && !keep.contains(unixPath);
    });
    for (const Entry& entry : entries) {
        const internal::DeleteFunction deletion = entry.isDirectory ? internal::deleteTree : File::deleteFile;
        internal::deleteAsyncOrLater(deletion, "[cache][clean]", entry.path, false);
    }
    return static_cast<int>(entries.size());
}

// The process number and the counter make the names of processes and threads differ even if their random
// numbers do not.
String Directory::getNewCacheFile(SmartCStr path, SmartCStr prefix) {
    static Mutex mutex;
    static uint32 counter = 0;
    const MutexLock lock(mutex);
    String folder = path;
    File::pathEndWithSeparator(folder);
    for (;;) {
        const uint32 start = mixBits(system()->getProcessID() ^ system()->randomUInt());
        const uint32 number = mixBits(start ^ counter++);
        const String result = folder + fmt::format("cache_{}_{:08x}.qel", prefix.c_str(), number);
        if (!File::existsFile(result)) return result;
    }
}

int Directory::cleanPrepareDirectory(SmartCStr path, const Vector<String>& keep, bool silent) {
    const Vector<Entry> entries = selectEntries(path, silent, [&](const Entry& entry) {
        return std::none_of(keep.begin(), keep.end(),
                            [&](const String& start) { return entry.path.starts_with(start); });
    });
    return deleteAllNowOrLater("[prepare][clean]", entries, silent);
}

int Directory::deletePrepareFilesWithPrefix(SmartCStr path, SmartCStr prefix) {
    const Vector<Entry> entries =
        selectEntries(path, false, [&](const Entry& entry) { return entry.name.starts_with(prefix.view()); });
    return deleteAllNowOrLater("[prepare][delete]", entries, false);
}

} // namespace qel
