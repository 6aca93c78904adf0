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

bool isNoFolder(const FileError& error) {
    return error == std::errc::not_a_directory || error == std::errc::too_many_symbolic_link_levels;
}

bool isGranted(const FileStatus& status) {
    return (status.mode & kOwnerMayAll) == kOwnerMayAll;
}

// Both forms return true if the folder lacked some access before and has it now.
bool grantAccess(const char* name, const platform::FileHandle& base = {}) {
    FileStatus status;
    return !readStatus(status, name, Links::Keep, base) && !isGranted(status) &&
           !platform::setMode(name, status.mode | kOwnerMayAll, base);
}

bool grantAccess(const platform::FileHandle& folder) {
    FileStatus status;
    return !readStatus(status, folder) && !isGranted(status) &&
           !platform::setMode(folder, status.mode | kOwnerMayAll);
}

// Deletes everything it can. Folders to be deleted are first granted access where it is missing.
class DeleteVisitor : public internal::TreeVisitor {
public:
    DeleteVisitor(SmartCStr root, bool silent) : TreeVisitor(root, "deleted"), m_silent(silent) {}

    bool visitEntry(const FolderCursor& at, const DirectoryEntry& entry) override {
        remove(&platform::removeFile, at, entry.name);
        return true;
    }

    bool leftFolder(const FolderCursor& at, const String& name) override {
        remove(&platform::removeDirectory, at, name);
        return true;
    }

    // Entering a folder requires access to its parent as well.
    bool refused(const FolderCursor& at, const String& name, const FileError& error) override {
        if (!isPermissionDenied(error)) return false;
        const bool isAbove = grantAccess(at.folder());
        return grantAccess(name.c_str(), at.folder()) || isAbove;
    }

protected:
    void warn(const FolderCursor& at, const String& name, const FileError& error) override {
        if (!m_silent)
            internal::warnNotDeleted(pathOf(at, name), error, name.empty() ? "." : name.c_str(), at.folder());
    }

private:
    using Remove = FileError (*)(const char*, const platform::FileHandle&);

    // A folder in which something could not be deleted is not empty; that failure was already noted.
    void remove(Remove removeName, const FolderCursor& at, const String& name) {
        FileError error = removeName(name.c_str(), at.folder());
        if (isPermissionDenied(error) && grantAccess(at.folder()))
            error = removeName(name.c_str(), at.folder());
        const bool isKnown = !isComplete() && error == std::errc::directory_not_empty;
        if (!isGone(error) && !isKnown) note(at, name, error);
    }

    bool m_silent;
};

FileError openToDelete(FolderCursor& cursor, SmartCStr path, Links links) {
    const FileError error = cursor.open(path, links);
    return isPermissionDenied(error) && grantAccess(path) ? cursor.open(path, links) : error;
}

// A path that is not a folder is reported to the caller by the result only.
bool isGoneOrWarn(SmartCStr path, const FileError& error, bool silent) {
    if (!isGone(error) && !isNoFolder(error) && !silent) internal::warnNotDeleted(path, error, path);
    return isGone(error);
}

bool deleteContents(SmartCStr path, Links links, bool silent) {
    FolderCursor cursor;
    if (const FileError error = openToDelete(cursor, path, links)) return isGoneOrWarn(path, error, silent);
    DeleteVisitor visitor(path, silent);
    return internal::walkTree(cursor, visitor);
}

// Restores the permissions of a folder that was granted access and is kept.
void restoreMode(SmartCStr path, const FileStatus& before) {
    platform::FileHandle folder;
    FileStatus now;
    if (platform::openDirectory(folder, path) || readStatus(now, folder)) return;
    if (now.identity == before.identity && now.mode != before.mode) platform::setMode(folder, before.mode);
}

class OldFilesVisitor : public internal::TreeVisitor {
public:
    OldFilesVisitor(SmartCStr root, uint64 utcStamp) : TreeVisitor(root, "examined"), m_utcStamp(utcStamp) {}

    bool visitEntry(const FolderCursor& at, const DirectoryEntry& entry) override {
        FileStatus status;
        if (const FileError error = readStatus(status, entry.name.c_str(), Links::Keep, at.folder())) {
            failed(at, entry.name, error);
            return true;
        }
        const uint64 newest =
            std::max(internal::utcStampOf(status.modified), internal::utcStampOf(status.created));
        if (newest <= m_utcStamp) count += remove(at, entry.name);
        return true;
    }

    int count = 0;

private:
    // Uses the name in the open folder first: that works at any depth, and the path cannot be redirected by a
    // link.
    bool remove(const FolderCursor& at, const String& name) {
        return isGone(platform::removeFile(name.c_str(), at.folder())) ||
               File::deleteFileNowOrLater("[deleteolder]", pathOf(at, name), false);
    }

    uint64 m_utcStamp;
};

class EmptyFoldersVisitor : public internal::TreeVisitor {
public:
    explicit EmptyFoldersVisitor(SmartCStr root) : TreeVisitor(root, "deleted") {}

    bool leftFolder(const FolderCursor& at, const String& name) override {
        const FileError error = platform::removeDirectory(name.c_str(), at.folder());
        if (!isGone(error) && error != std::errc::directory_not_empty) note(at, name, error);
        return true;
    }
};

} // namespace

bool internal::deleteTree(SmartCStr path, bool silent) {
    String own = path;
    File::pathStripEndingSeparator(own); // with a separator at the end, a link would be followed
    return deleteContents(own, Links::Keep, silent) &&
           isGoneOrWarn(own, platform::removeDirectory(own.c_str()), silent);
}

bool Directory::deleteDirectory(SmartCStr path) {
    return isGone(platform::removeDirectory(path));
}

bool Directory::deleteDirectoryRecursively(SmartCStr path) {
    return internal::deleteTree(path, false);
}

bool Directory::deleteDirectoryContentsRecursively(SmartCStr path) {
    FileStatus before;
    const bool exists = !readStatus(before, path);
    const bool isEmpty = deleteContents(path, Links::Follow, false);
    if (exists) restoreMode(path, before);
    return isEmpty;
}

bool Directory::deleteDirectoryRecursivelyNowOrLater(SmartCStr origin, SmartCStr path, bool silent) {
    return internal::deleteNowOrLater(internal::deleteTree, origin, internal::hostPath(path), silent);
}

void Directory::deleteDirectoryRecursivelyAsyncOrLater(SmartCStr origin, SmartCStr path) {
    internal::deleteAsyncOrLater(internal::deleteTree, origin, internal::hostPath(path), false);
}

int Directory::deleteDirectoryContentsOlderThan(SmartCStr path, uint64 utcStamp) {
    OldFilesVisitor visitor(path, utcStamp);
    internal::walkTree(path, visitor);
    return visitor.count;
}

bool Directory::deleteEmptyDirectoriesInPathRecursively(SmartCStr path) {
    FolderCursor cursor;
    EmptyFoldersVisitor visitor(path);
    const FileError error = cursor.open(path, Links::Follow);
    if (!error) return internal::walkTree(cursor, visitor);
    if (!isGone(error)) internal::warnNotDone(path, "read", error);
    return isGone(error);
}

} // namespace qel
