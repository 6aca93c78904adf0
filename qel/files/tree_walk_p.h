// Walks a tree from open folder to open folder.
#pragma once

#include <qel/files/whole_io_p.h>
#include <qel/foundation/base/containers.h>

namespace qel::internal {

using platform::DirectoryEntry;

/// A position in a tree that moves from folder to folder by name and never through a link. No path is ever
/// too long for the system, and at most kOpenFolders folders are open at any depth.
class FolderCursor {
public:
    /// The number of folders that are kept open: the current one and the nearest above it. The cursor can
    /// return to an open folder even if the one below it cannot be searched for "..".
    static constexpr size_t kOpenFolders = 16;

    /// Starts at the folder @p path. @param links  whether the path itself may be a link.
    FileError open(const char* path, platform::Links links);
    /// Enters the folder @p name.
    FileError enter(const String& name);
    /// Returns to the folder above. @errors std::errc::no_such_file_or_directory if that folder is no longer
    /// open and the current one was moved elsewhere; the cursor then does not move.
    FileError leave();

    /// Returns the current folder as a base for names.
    const FileHandle& folder() const { return m_levels.back().folder; }
    /// Returns the identity of the current folder.
    const platform::FileIdentity& identity() const { return m_levels.back().identity; }
    /// Returns the names of the folders entered, each with a "/" before it.
    const String& path() const { return m_path; }

private:
    struct Level {
        FileHandle folder;
        platform::FileIdentity identity;
    };

    FileError push(FileHandle folder);
    FileError openAgain(Level& above) const;

    Vector<Level> m_levels; // from the start to the current folder
    String m_path;
};

/// What walkTree() does with the entries it finds, and whether all of it succeeded. A name passed to a
/// function is in the cursor's folder. Each function returns false to end the whole walk, unless stated
/// otherwise.
class TreeVisitor {
public:
    /// @param root    the path at which the walk starts, for log lines.
    /// @param action  what is done to each file and folder, such as "read" or "copied", for log lines.
    TreeVisitor(SmartCStr root, const char* action);
    virtual ~TreeVisitor() = default;

    /// Visits any entry that is not a folder, including a link to a folder.
    virtual bool visitEntry(const FolderCursor& at, const DirectoryEntry& entry);
    /// Visits a folder before it is entered.
    virtual bool visitFolder(const FolderCursor& at, const String& name);
    /// Is called after the cursor has entered the folder @p name. @return false to leave it at once, as if it
    /// were empty.
    virtual bool enteredFolder(const FolderCursor& at, const String& name);
    /// Is called after the cursor has left the folder @p name, whose content was walked unless
    /// enteredFolder() refused it.
    virtual bool leftFolder(const FolderCursor& at, const String& name);
    /// Is called when the folder @p name cannot be entered. @return true to try once more.
    virtual bool refused(const FolderCursor& at, const String& name, const FileError& error);
    /// Is called when the entry @p name could not be examined or entered, or, for an empty name, when the
    /// current folder could not be read to its end or left. The walk continues unless the folder could not be
    /// left. By default the failure is noted, unless @p name has been removed meanwhile.
    virtual void failed(const FolderCursor& at, const String& name, const FileError& error);

    /// Returns true if no failure was noted.
    bool isComplete() const { return m_isComplete; }

protected:
    /// Notes a failure and logs a warning for the first one in each folder. @param name  empty for the folder
    /// itself.
    void note(const FolderCursor& at, const String& name, const FileError& error);
    /// Returns the path of @p name in the cursor's folder, or of that folder if @p name is empty.
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
    FilesFirst, ///< everything except folders, in the file system's order; then the folders
    ByName,     ///< all entries in the byte order of their names
};

/// Walks everything below the cursor's folder; afterwards the cursor is there again, unless the walk was
/// ended. @return true if it was not ended and the visitor noted no failure.
bool walkTree(FolderCursor& cursor, TreeVisitor& visitor, WalkOrder order = WalkOrder::FilesFirst);
/// Walks the folder @p path, which may be a link to one. If it exists and cannot be opened, the visitor logs
/// it.
/// @return as above; false if it could not be opened.
bool walkTree(SmartCStr path, TreeVisitor& visitor, WalkOrder order = WalkOrder::FilesFirst);

} // namespace qel::internal
