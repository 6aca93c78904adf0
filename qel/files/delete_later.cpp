#include <qel/files/delete_later.h>

#include <qel/files/absolute_path_p.h>
#include <qel/files/directory.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/file_system.h>
#include <qel/store/core/store.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/perfmon.h>

#include <limits>
#include <string>
#include <unordered_set>

namespace qel {

namespace {

constexpr int64 kProblematicTries = 4;

// With a separator at the end, a link would be followed.
String withoutEndingSeparator(String path) {
    File::pathStripEndingSeparator(path);
    return path;
}

std::error_code readOwnStatus(platform::FileStatus& status, const String& path) {
    return platform::readStatus(status, withoutEndingSeparator(path).c_str(), platform::Links::Keep);
}

// A list read from a file may contain anything. A path must be absolute, so that it does not depend on where
// the program runs, and must not be the root folder in any spelling.
bool isDeletable(const String& path) {
    platform::FileStatus root;
    platform::FileStatus status;
    if (!path.starts_with('/') || readOwnStatus(root, "/")) return false;
    return readOwnStatus(status, path) || status.identity != root.identity;
}

// A link exists even if its target does not; a path that cannot be examined is treated as existing.
bool isOnDisk(const String& path) {
    platform::FileStatus status;
    const std::error_code error = readOwnStatus(status, path);
    return error != std::errc::no_such_file_or_directory && error != std::errc::not_a_directory;
}

// Foreign keys can lead a walk in circles.
Vector<Item> childrenOf(const Item& parent) {
    Vector<Item> children;
    std::unordered_set<std::string> seen;
    Item child;
    for (bool more = parent.child(child); more; more = child.next()) {
        if (!seen.emplace(child.getConstByteSpan().asText()).second) break;
        children.push_back(child);
    }
    return children;
}

void removeEntry(const Item& entry, const String& path) {
    if (System* system = Object::system()) system->removePathFromFilesystemBlacklist(path);
    entry.remove();
}

} // namespace

void DeleteLater::addPath(const char* path, const char* origin) {
    if (!m_dbPath.getStore()) return;
    const String absolute = internal::absolutePath(path);
    Item entry = m_dbPath;
    entry.add(absolute.c_str());
    if (entry.exists()) return;
    entry.store(Item(origin).add(0));
    logging::info() << "new path added to deleteLater list, path=" << absolute;
}

void DeleteLater::maintainDeletes() {
    constexpr const char* kSection = "maintainDeletes";
    PerfMon* const perfMon = system() ? system()->getPerfMon() : nullptr;
    if (perfMon) perfMon->begin(kSection);
    m_problematicCount = 0;
    m_report.clear();
    if (Store* const store = m_dbPath.getStore()) {
        store->flush();
        for (const Item& entry : childrenOf(m_dbPath)) maintain(entry);
    }
    if (perfMon) perfMon->end(kSection);
}

void DeleteLater::maintain(const Item& entry) {
    String path;
    if (!entry.trail().getIterator().asString(path) || !isDeletable(path)) {
        logging::warning() << "deleteLater database inconsistency: " << entry.asString();
        return entry.remove();
    }
    const Item* const value = entry.fetch();
    if (!value) {
        logging::warning() << "deleteLater database cant read values from: " << entry.asString();
        return entry.remove();
    }
    Item::Iterator fields = value->getIterator();
    String origin;
    int64 tries = 0;
    if (!fields.asString(origin) || !fields.asInteger(tries)) {
        logging::warning() << "deleteLater database inconsistent values: " << entry.asString();
        return entry.remove();
    }
    if (isOnDisk(path)) return retry(entry, path, origin, tries);
    logging::info() << path << " does no longer exist on disk, removing from delete-later-list";
    removeEntry(entry, path);
}

void DeleteLater::retry(const Item& entry, const String& path, const String& origin, int64 tries) {
    logging::warning() << "trying to remove problematic path: , path=" << path << ", origin=" << origin
                       << ", tries=" << tries;
    const String own = withoutEndingSeparator(path);
    Directory::deleteDirectoryRecursively(own); // only one of the three can succeed
    File::deleteFile(own);
    File::deleteSymLink(own);
    if (!isOnDisk(path)) return removeEntry(entry, path);
    if (tries < std::numeric_limits<int64>::max()) ++tries;
    if (tries >= kProblematicTries) {
        ++m_problematicCount;
        ++m_report[origin];
    }
    entry.store(Item(origin).add(tries));
}

} // namespace qel
