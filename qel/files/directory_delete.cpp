#include <qel/files/directory.h>

#include <qel/files/deletion_p.h>
#include <qel/files/file_query_p.h>
#include <qel/files/tree_walk_p.h>

#include <algorithm>

namespace qel {

using internal::DirectoryEntry;
using internal::FileError;
using internal::FolderCursor;
using platform::FileKind;
using platform::FileStatus;
using platform::Links;

namespace {

constexpr uint32 kOwnerMayAll = 0700;

bool isGone(const FileError& error) {
    return !error || error == std::errc::no_such_file_or_directory;
}

bool isPermissionDenied(const FileError& error) {
    return error == std::errc::permission_denied;
}

bool grantAccess(const char* name, const platform::FileHandle& folder = {}) {
    FileStatus status;
    return !readStatus(status, name, Links::Keep, folder) &&
           !platform::setMode(name, status.mode | kOwnerMayAll, folder);
}

// Deletes everything; what can't be deleted stays, and the first such is told in a warning. Folders that are
// to go may be unlocked for it.
class DeleteVisitor : public internal::TreeVisitor {
public:
    DeleteVisitor(SmartCStr root, bool silent) : m_root(root), m_silent(silent) {
        File::pathStripEndingSeparator(m_root);
    }

    bool visitEntry(const FolderCursor& at, const DirectoryEntry& entry) override {
        const char* name = entry.name.c_str();
        FileError error = platform::removeFile(name, at.folder());
        if (isPermissionDenied(error) && grantAccess(".", at.folder()))
            error = platform::removeFile(name, at.folder());
        note(at, entry.name, error);
        return true;
    }

    bool leftFolder(const FolderCursor& at, const String& name) override {
        FileError error = platform::removeDirectory(name.c_str(), at.folder());
        if (isPermissionDenied(error) && grantAccess(".", at.folder()))
            error = platform::removeDirectory(name.c_str(), at.folder());
        note(at, name, error);
        return true;
    }

    bool refused(const FolderCursor& at, const String& name, const FileError& error) override {
        return isPermissionDenied(error) && grantAccess(name.c_str(), at.folder());
    }

    void failed(const FolderCursor& at, const String& name, const FileError& error) override {
        note(at, name, error);
    }

    bool allGone() const { return m_allGone; }

private:
    void note(const FolderCursor& at, const String& name, const FileError& error) {
        if (isGone(error)) return;
        if (m_allGone && !m_silent)
            internal::warnNotDeleted(m_root + at.path() + "/" + name, error, name.c_str(), at.folder());
        m_allGone = false;
    }

    String m_root;
    bool m_silent;
    bool m_allGone = true;
};

// An unlocked folder is opened at the second try.
FileError openToDelete(FolderCursor& cursor, SmartCStr path, Links links) {
    const FileError error = cursor.open(path, links);
    return isPermissionDenied(error) && grantAccess(path) ? cursor.open(path, links) : error;
}

bool deleteContents(SmartCStr path, Links links, bool silent) {
    FolderCursor cursor;
    if (const FileError error = openToDelete(cursor, path, links)) return isGone(error);
    DeleteVisitor visitor(path, silent);
    return internal::walkTree(cursor, visitor) && visitor.allGone();
}

class OldFilesVisitor : public internal::TreeVisitor {
public:
    OldFilesVisitor(SmartCStr root, uint64 utcStamp) : m_root(root), m_utcStamp(utcStamp) {
        File::pathStripEndingSeparator(m_root);
    }

    bool visitEntry(const FolderCursor& at, const DirectoryEntry& entry) override {
        FileStatus status;
        if (readStatus(status, entry.name.c_str(), Links::Keep, at.folder())) return true;
        const uint64 newest =
            std::max(internal::utcStampOf(status.modified), internal::utcStampOf(status.created));
        if (newest <= m_utcStamp) count += remove(at, entry.name);
        return true;
    }

    int count = 0;

private:
    // By its name in the open folder first: that works at any depth, and no link can come in between.
    bool remove(const FolderCursor& at, const String& name) {
        return isGone(platform::removeFile(name.c_str(), at.folder())) ||
               File::deleteFileNowOrLater("[deleteolder]", m_root + at.path() + "/" + name, false);
    }

    String m_root;
    uint64 m_utcStamp;
};

class EmptyFoldersVisitor : public internal::TreeVisitor {
public:
    bool leftFolder(const FolderCursor& at, const String& name) override {
        const FileError error = platform::removeDirectory(name.c_str(), at.folder());
        if (!isGone(error) && error != std::errc::directory_not_empty) allGone = false;
        return true;
    }

    void failed(const FolderCursor&, const String&, const FileError&) override { allGone = false; }

    bool allGone = true;
};

} // namespace

bool internal::deleteTree(SmartCStr path, bool silent) {
    String own = path;
    File::pathStripEndingSeparator(own); // a separator at the end would look through a link
    return deleteContents(own, Links::Keep, silent) && isGone(platform::removeDirectory(own.c_str()));
}

bool Directory::deleteDirectory(SmartCStr path) {
    return isGone(platform::removeDirectory(path));
}

bool Directory::deleteDirectoryRecursively(SmartCStr path) {
    return internal::deleteTree(path, false);
}

bool Directory::deleteDirectoryContentsRecursively(SmartCStr path) {
    return deleteContents(path, Links::Follow, false);
}

bool Directory::deleteDirectoryRecursivelyNowOrLater(SmartCStr origin, SmartCStr path, bool silent) {
    return internal::deleteNowOrLater(internal::deleteTree, origin, path, silent);
}

void Directory::deleteDirectoryRecursivelyAsyncOrLater(SmartCStr origin, SmartCStr path) {
    internal::deleteAsyncOrLater(internal::deleteTree, origin, internal::hostPath(path), false);
}

int Directory::deleteDirectoryContentsOlderThan(SmartCStr path, uint64 utcStamp) {
    FolderCursor cursor;
    if (cursor.open(path, Links::Follow)) return 0;
    OldFilesVisitor visitor(path, utcStamp);
    internal::walkTree(cursor, visitor);
    return visitor.count;
}

bool Directory::deleteEmptyDirectoriesInPathRecursively(SmartCStr path) {
    FolderCursor cursor;
    if (const FileError error = cursor.open(path, Links::Follow)) return isGone(error);
    EmptyFoldersVisitor visitor;
    return internal::walkTree(cursor, visitor) && visitor.allGone;
}

} // namespace qel
