#include <qel/files/directory.h>

#include <qel/files/deletion_p.h>
#include <qel/files/tree_walk_p.h>

namespace qel {

using internal::DirectoryEntry;
using internal::FileError;
using internal::FolderCursor;
using platform::FileKind;
using platform::FileStatus;
using platform::Links;

namespace {

// Owner first: only an owner may change permissions. A link has none of its own.
FileError take(const char* name, const platform::FileHandle& folder = {}) {
    constexpr uint32 kReadWrite = 0600, kReadWriteEnter = 0700;
    FileStatus status;
    FileError error = readStatus(status, name, Links::Keep, folder);
    if (!error && !status.ownedByUser) error = platform::setOwnerToUser(name, folder);
    if (error || status.kind == FileKind::SymLink) return error;
    const uint32 needed = status.kind == FileKind::Directory ? kReadWriteEnter : kReadWrite;
    return platform::setMode(name, status.mode | needed, folder);
}

class OwnershipVisitor : public internal::TreeVisitor {
public:
    bool visitEntry(const FolderCursor& at, const DirectoryEntry& entry) override {
        allTaken = !take(entry.name.c_str(), at.folder()) && allTaken;
        return true;
    }
    bool visitFolder(const FolderCursor& at, const String& name) override {
        allTaken = !take(name.c_str(), at.folder()) && allTaken;
        return true;
    }
    void failed(const FolderCursor&, const String&, const FileError&) override { allTaken = false; }

    bool allTaken = true;
};

} // namespace

bool Directory::takeOwnership(SmartCStr path) {
    const String root = internal::hostPath(path);
    bool isDirectory = false;
    if (!File::checkIfDirectory(root, isDirectory) || take(root.c_str())) return false;
    if (!isDirectory) return true;
    FolderCursor cursor;
    if (cursor.open(root.c_str(), Links::Follow)) return false;
    OwnershipVisitor visitor;
    return internal::walkTree(cursor, visitor) && visitor.allTaken;
}

} // namespace qel
