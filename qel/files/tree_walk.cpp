#include <qel/files/tree_walk_p.h>

#include <qel/files/file.h>

#include <algorithm>

namespace qel::internal {

using platform::DirectoryReader;
using platform::FileKind;
using platform::FileStatus;
using platform::Links;

FileError FolderCursor::open(const char* path, Links links) {
    FileHandle folder;
    if (const FileError error = platform::openDirectory(folder, path, links)) return error;
    m_levels.clear();
    m_path.clear();
    return push(std::move(folder));
}

FileError FolderCursor::push(FileHandle folder) {
    FileStatus status;
    if (const FileError error = platform::readStatus(status, folder)) return error;
    m_levels.push_back({std::move(folder), status.identity});
    if (m_levels.size() > kOpenFolders) m_levels[m_levels.size() - 1 - kOpenFolders].folder.close();
    return {};
}

FileError FolderCursor::enter(const String& name) {
    FileHandle folder;
    if (const FileError error = platform::openDirectory(folder, name.c_str(), Links::Keep, this->folder()))
        return error;
    if (const FileError error = push(std::move(folder))) return error;
    m_path += '/';
    m_path += name;
    return {};
}

FileError FolderCursor::leave() {
    Level& above = m_levels[m_levels.size() - 2];
    if (!above.folder.isOpen()) {
        if (const FileError error = openAgain(above)) return error;
    }
    m_levels.pop_back();
    m_path.erase(m_path.rfind('/'));
    return {};
}

// ".." is the folder from which the cursor came only if nobody has moved the current one.
FileError FolderCursor::openAgain(Level& above) const {
    FileHandle parent;
    FileStatus status;
    if (const FileError error = platform::openDirectory(parent, "..", Links::Keep, folder())) return error;
    if (const FileError error = platform::readStatus(status, parent)) return error;
    if (status.identity != above.identity) return std::make_error_code(std::errc::no_such_file_or_directory);
    above.folder = std::move(parent);
    return {};
}

TreeVisitor::TreeVisitor(SmartCStr root, const char* action) : m_root(root), m_action(action) {
    File::pathStripEndingSeparator(m_root);
    if (m_root == "/") m_root.clear(); // the cursor's path begins with the separator
}

bool TreeVisitor::visitEntry(const FolderCursor&, const DirectoryEntry&) {
    return true;
}

bool TreeVisitor::visitFolder(const FolderCursor&, const String&) {
    return true;
}

bool TreeVisitor::enteredFolder(const FolderCursor&, const String&) {
    return true;
}

bool TreeVisitor::leftFolder(const FolderCursor&, const String&) {
    return true;
}

bool TreeVisitor::refused(const FolderCursor&, const String&, const FileError&) {
    return false;
}

void TreeVisitor::failed(const FolderCursor& at, const String& name, const FileError& error) {
    const bool isGone = !name.empty() && error == std::errc::no_such_file_or_directory;
    if (!isGone) note(at, name, error);
}

void TreeVisitor::note(const FolderCursor& at, const String& name, const FileError& error) {
    if (m_isComplete || m_failedFolder != at.path()) warn(at, name, error);
    m_isComplete = false;
    m_failedFolder = at.path();
}

String TreeVisitor::pathOf(const FolderCursor& at, const String& name) const {
    const String folder = m_root + at.path();
    return name.empty() && !folder.empty() ? folder : folder + "/" + name;
}

void TreeVisitor::warn(const FolderCursor& at, const String& name, const FileError& error) {
    warnNotDone(pathOf(at, name), m_action, error);
}

namespace {

// For each open level the walk keeps only the names that are still to be visited, the last one first.
class Walk {
public:
    Walk(FolderCursor& cursor, TreeVisitor& visitor, WalkOrder order)
        : m_cursor(cursor), m_visitor(visitor), m_order(order) {}

    bool run();

private:
    struct Level {
        String name;
        Vector<DirectoryEntry> entries;
    };

    bool readFolder();
    bool makeKnown(DirectoryEntry& entry);
    bool visitNext();
    bool goDown(const String& name);
    bool goUp(const String& name);
    bool enter(const String& name);

    FolderCursor& m_cursor;
    TreeVisitor& m_visitor;
    WalkOrder m_order;
    Vector<Level> m_levels;
};

bool Walk::run() {
    m_levels.push_back({});
    if (!readFolder()) return false;
    for (;;) {
        if (!m_levels.back().entries.empty()) {
            if (!visitNext()) return false;
            continue;
        }
        const String name = std::move(m_levels.back().name);
        m_levels.pop_back();
        if (m_levels.empty()) return true;
        if (!goUp(name)) return false;
    }
}

bool Walk::readFolder() {
    Vector<DirectoryEntry>& entries = m_levels.back().entries;
    DirectoryReader reader(m_cursor.folder());
    DirectoryEntry entry;
    FileError error;
    while (reader.next(entry, error)) {
        if (!makeKnown(entry)) continue;
        if (m_order == WalkOrder::ByName || entry.kind == FileKind::Directory) {
            entries.push_back(std::move(entry));
        } else if (!m_visitor.visitEntry(m_cursor, entry)) {
            return false;
        }
    }
    if (error) m_visitor.failed(m_cursor, String(), error);
    if (m_order == WalkOrder::ByName)
        std::sort(entries.begin(), entries.end(),
                  [](const auto& a, const auto& b) { return a.name > b.name; });
    return true;
}

// An entry of unknown kind may be a folder, so it cannot be processed.
bool Walk::makeKnown(DirectoryEntry& entry) {
    if (entry.kind != FileKind::Unknown) return true;
    FileStatus status;
    const FileError error = readStatus(status, entry.name.c_str(), Links::Keep, m_cursor.folder());
    if (error) m_visitor.failed(m_cursor, entry.name, error);
    entry.kind = status.kind;
    return !error;
}

bool Walk::visitNext() {
    const DirectoryEntry entry = std::move(m_levels.back().entries.back());
    m_levels.back().entries.pop_back();
    if (entry.kind != FileKind::Directory) return m_visitor.visitEntry(m_cursor, entry);
    return m_visitor.visitFolder(m_cursor, entry.name) && goDown(entry.name);
}

bool Walk::enter(const String& name) {
    FileError error = m_cursor.enter(name);
    if (error && m_visitor.refused(m_cursor, name, error)) error = m_cursor.enter(name);
    if (error) m_visitor.failed(m_cursor, name, error);
    return !error;
}

bool Walk::goDown(const String& name) {
    if (!enter(name)) return true;
    if (!m_visitor.enteredFolder(m_cursor, name)) return goUp(name);
    m_levels.push_back({name, {}});
    return readFolder();
}

bool Walk::goUp(const String& name) {
    if (const FileError error = m_cursor.leave()) {
        m_visitor.failed(m_cursor, String(), error);
        return false;
    }
    return m_visitor.leftFolder(m_cursor, name);
}

} // namespace

bool walkTree(FolderCursor& cursor, TreeVisitor& visitor, WalkOrder order) {
    return Walk(cursor, visitor, order).run() && visitor.isComplete();
}

bool walkTree(SmartCStr path, TreeVisitor& visitor, WalkOrder order) {
    FolderCursor cursor;
    const FileError error = cursor.open(path, Links::Follow);
    if (error && error != std::errc::no_such_file_or_directory) visitor.failed(cursor, String(), error);
    return !error && walkTree(cursor, visitor, order);
}

} // namespace qel::internal
