// Walking a tree from open folder to open folder.
#pragma once

#include <qel/files/whole_io_p.h>
#include <qel/foundation/base/containers.h>

namespace qel::internal {

using platform::DirectoryEntry;

/// A place in a tree that moves from folder to folder by name and never through a link. No path is ever too
/// long for the system, and no more than kOpenFolders folders are open at any depth.
class FolderCursor {
public:
    /// How many folders are kept open: the one that the cursor is on and the nearest above it. A folder that
    /// is open can be returned to even if the one below it cannot be searched for "..".
    static constexpr size_t kOpenFolders = 16;

    /// Starts on the folder @p path. @param links  whether the path itself may be a link.
    FileError open(const char* path, platform::Links links);
    /// Enters the folder @p name.
    FileError enter(const String& name);
    /// Returns to the folder above. @errors std::errc::no_such_file_or_directory if that is no longer open
    /// and the folder to be left was moved elsewhere; the cursor then stays where it is.
    FileError leave();

    /// The folder it is on, as a base for names.
    const FileHandle& folder() const { return m_levels.back().folder; }
    /// The folder it is on, to be compared with others.
    const platform::FileIdentity& identity() const { return m_levels.back().identity; }
    /// The names entered, each with a "/" before it.
    const String& path() const { return m_path; }

private:
    struct Level {
        FileHandle folder;
        platform::FileIdentity identity;
    };

    FileError push(FileHandle folder);
    FileError openAgain(Level& above) const;

    Vector<Level> m_levels; // from the start to here
    String m_path;
};

/// What walkTree() does with what it finds, and whether all of it worked. A name passed to a function is one
/// in the folder of the cursor. Each function returns false to end the whole walk, unless stated otherwise.
class TreeVisitor {
public:
    /// @param root    the path at which the walk starts, for log lines.
    /// @param action  what is done to each file and folder, as "read" or "copied", for log lines.
    TreeVisitor(SmartCStr root, const char* action);
    virtual ~TreeVisitor() = default;

    /// Visits anything but a folder; a link to a folder is an entry too.
    virtual bool visitEntry(const FolderCursor& at, const DirectoryEntry& entry);
    /// Visits a folder before it is entered.
    virtual bool visitFolder(const FolderCursor& at, const String& name);
    /// The cursor has entered the folder @p name. @return false to leave it at once, as if it were empty.
    virtual bool enteredFolder(const FolderCursor& at, const String& name);
    /// The cursor has left the folder @p name, after its content or after enteredFolder() refused it.
    virtual bool leftFolder(const FolderCursor& at, const String& name);
    /// The folder @p name can't be entered. @return whether to try once more.
    virtual bool refused(const FolderCursor& at, const String& name, const FileError& error);
    /// The entry @p name could not be examined or entered; or, for an empty name, the folder that the cursor
    /// is on could not be read to its end or left. The walk continues unless the folder could not be left. By
    /// default this is noted, unless @p name has been removed meanwhile.
    virtual void failed(const FolderCursor& at, const String& name, const FileError& error);

    /// Whether nothing was noted as failed.
    bool isComplete() const { return m_isComplete; }

protected:
    /// Notes a failure and logs a warning for the first one in each folder. @param name  empty for the
    /// folder.
    void note(const FolderCursor& at, const String& name, const FileError& error);
    /// The path of @p name in the folder of the cursor; of the folder itself if @p name is empty.
    String pathOf(const FolderCursor& at, const String& name) const;
    /// Logs a failure; note() calls it.
    virtual void warn(const FolderCursor& at, const String& name, const FileError& error);

private:
    String m_root;
    const char* m_action;
    bool m_isComplete = true;
    String m_failedFolder; // of the last warning, as FolderCursor::path()
};

/// The order in which the entries of a folder are visited.
enum class WalkOrder {
    FilesFirst, ///< all but folders in the file system's order, read as they are visited; then the folders
    ByName,     ///< all in the byte order of their names
};

/// Walks what lies below the folder that @p cursor is on; afterwards the cursor is there again, unless the
/// walk was ended. @return whether it was not ended and the visitor noted no failure.
bool walkTree(FolderCursor& cursor, TreeVisitor& visitor, WalkOrder order = WalkOrder::FilesFirst);
/// Walks the folder @p path, which may be a link to one. If it exists and cannot be opened, the visitor logs
/// it.
/// @return as above; false if it could not be opened.
bool walkTree(SmartCStr path, TreeVisitor& visitor, WalkOrder order = WalkOrder::FilesFirst);

} // namespace qel::internal
