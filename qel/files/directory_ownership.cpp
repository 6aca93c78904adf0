#include <qel/files/directory.h>

#include <qel/files/deletion_p.h>
#include <qel/files/file_query_p.h>
#include <qel/files/tree_walk_p.h>

namespace qel {

using internal::DirectoryEntry;
using internal::FileError;
using internal::FolderCursor;
using platform::FileKind;
using platform::FileStatus;
using platform::Links;

namespace {

constexpr const char* kTakenOver = "taken over";

// Owner first: only an owner may change permissions. A link has no permissions of its own.
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
    explicit OwnershipVisitor(SmartCStr root) : TreeVisitor(root, kTakenOver) {}

    bool visitEntry(const FolderCursor& at, const DirectoryEntry& entry) override {
        return visitFolder(at, entry.name);
    }
    bool visitFolder(const FolderCursor& at, const String& name) override {
        if (const FileError error = take(name.c_str(), at.folder())) failed(at, name, error);
        return true;
    }
};

} // namespace

bool Directory::takeOwnership(SmartCStr path) {
    const String root = internal::hostPath(path);
    FileStatus status;
    bool isSymLink = false;
    FileError error = take(root.c_str());
    if (!error) error = internal::readNameStatus(status, isSymLink, root.c_str());
    if (error) {
        internal::warnNotDone(root, kTakenOver, error);
        return false;
    }
    OwnershipVisitor visitor(root);
    return status.kind != FileKind::Directory || internal::walkTree(root, visitor);
}

} // namespace qel
