// Walking a tree from open folder to open folder.
#pragma once

#include <qel/files/whole_io_p.h>
#include <qel/foundation/base/containers.h>

namespace qel::internal {

using platform::DirectoryEntry;

/// A place in a tree that moves from folder to folder by name and never through a link. It holds one folder
/// open at any depth, so no path is ever too long for the system.
class FolderCursor {
public:
    /// Starts on the folder @p path. @param links  whether the path itself may be a link.
    FileError open(const char* path, platform::Links links);
    /// Goes into the folder @p name.
    FileError enter(const String& name);
    /// Goes back. @errors std::errc::no_such_file_or_directory when the folder left behind has been moved
    /// away meanwhile; the cursor is then of no more use.
    FileError leave();

    /// The folder it is on, as a base for names.
    const FileHandle& folder() const { return m_folder; }
    /// The folder it is on, to be compared with others.
    const platform::FileIdentity& identity() const { return m_identities.back(); }
    /// The names entered, each with a "/" before it.
    const String& path() const { return m_path; }

private:
    FileError moveTo(FileHandle folder);

    FileHandle m_folder;
    Vector<platform::FileIdentity> m_identities; // from the start to here
    String m_path;
};

/// What walkTree() does with what it finds. Functions that are told a name find it in the folder of the
/// cursor. Each gives false to end the whole walk, unless told otherwise.
class TreeVisitor {
public:
    virtual ~TreeVisitor() = default;

    /// Anything but a folder; a link to one is none.
    virtual bool visitEntry(const FolderCursor& at, const DirectoryEntry& entry);
    /// A folder, before it is entered.
    virtual bool visitFolder(const FolderCursor& at, const String& name);
    /// The cursor has entered the folder @p name. @return false to leave it at once, as if it were empty.
    virtual bool enteredFolder(const FolderCursor& at, const String& name);
    /// The cursor has left the folder @p name, after its content or after enteredFolder() refused it.
    virtual bool leftFolder(const FolderCursor& at, const String& name);
    /// The folder @p name can't be entered. @return whether to try once more. No end of the walk.
    virtual bool refused(const FolderCursor& at, const String& name, const FileError& error);
    /// The folder @p name, or for an empty name the one that the cursor is on, was not entered, read to its
    /// end, or left. The walk goes on unless it was not left.
    virtual void failed(const FolderCursor& at, const String& name, const FileError& error);
};

/// The order in which entries of a folder come.
enum class WalkOrder {
    FilesFirst, ///< all but folders in the file system's order, read as they are visited; then the folders
    ByName,     ///< all in the byte order of their names
};

/// Walks what lies below the folder that @p cursor is on; afterwards the cursor is there again, unless the
/// walk was ended. @return false when a visitor's function ended it, or the way back was lost.
bool walkTree(FolderCursor& cursor, TreeVisitor& visitor, WalkOrder order = WalkOrder::FilesFirst);

} // namespace qel::internal
