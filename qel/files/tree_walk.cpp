#include <qel/files/tree_walk_p.h>

#include <algorithm>

namespace qel::internal {

using platform::DirectoryReader;
using platform::FileKind;
using platform::FileStatus;
using platform::Links;

FileError FolderCursor::open(const char* path, Links links) {
    FileHandle folder;
    if (const FileError error = platform::openDirectory(folder, path, links)) return error;
    m_identities.clear();
    m_path.clear();
    return moveTo(std::move(folder));
}

FileError FolderCursor::moveTo(FileHandle folder) {
    FileStatus status;
    if (const FileError error = platform::readStatus(status, folder)) return error;
    m_identities.push_back(status.identity);
    m_folder = std::move(folder);
    return {};
}

FileError FolderCursor::enter(const String& name) {
    FileHandle folder;
    if (const FileError error = platform::openDirectory(folder, name.c_str(), Links::Keep, m_folder))
        return error;
    if (const FileError error = moveTo(std::move(folder))) return error;
    m_path += '/';
    m_path += name;
    return {};
}

// The folder above is the one that was left only if nobody has moved this one elsewhere.
FileError FolderCursor::leave() {
    FileHandle folder;
    FileStatus status;
    if (const FileError error = platform::openDirectory(folder, "..", Links::Keep, m_folder)) return error;
    if (const FileError error = platform::readStatus(status, folder)) return error;
    m_identities.pop_back();
    m_path.erase(m_path.rfind('/'));
    if (status.identity != m_identities.back())
        return std::make_error_code(std::errc::no_such_file_or_directory);
    m_folder = std::move(folder);
    return {};
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

void TreeVisitor::failed(const FolderCursor&, const String&, const FileError&) {}

namespace {

// The walk keeps for each open level only the names that are still to be visited, last one first.
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
    return Walk(cursor, visitor, order).run();
}

} // namespace qel::internal
