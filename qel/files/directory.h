// The entries of one folder, and operations on whole trees.
#pragma once

#include <qel/files/file.h>

#include <system_error>

namespace qel {

/// Reads the entries of one folder; its static functions work on trees, caches and disks.
///
/// Operations on trees go from open folder to open folder and look at every name without following links: the
/// target of a link is never deleted, copied or changed, loops of links are harmless, and neither the depth
/// nor the length of a path is limited. They keep a fixed number of files open at a time. A path given by the
/// caller may itself be a link to a folder, unless the folder itself is to be deleted.
/// A folder or file that cannot be read does not end them: they process everything else, log a warning for
/// the first failure in each folder, and return the failure as their result.
/// first failure in each folder, and report the failure by their result.
/// @threads an object belongs to one thread; the static functions may be called from any.
class QEL_API Directory : public Object {
    QEL_CLASS(Directory, Object)

public:
    /// Creates a Directory without entries.
    Directory();
    /// Opens @p path as open() does.
    explicit Directory(SmartCStr path, bool silent = true);
    ~Directory() override;

    // --- iteration (directory.cpp) ---------------------------------------------------------------------

    /// Starts at the first entry of @p path, in the file system's order, without "." and "..". A folder that
    /// cannot be opened has no entries. @param silent  false to log such a failure at info level.
    /// @return true if it was opened.
    bool open(SmartCStr path, bool silent = true);
    /// Reads the next entry with all that is known about it. An entry whose status cannot be read is marked
    /// FileInfo::isUnknown, and the first of them is logged as a warning. @return false at the end; call
    /// hasFailed() to learn whether all entries were read.
    bool read(File::FileInfo& info);
    /// Reads the next entry's name. @return as in the form above.
    bool read(String& name);
    /// Reads the next entry's name, and whether it is a folder or a link to one. @return as in the form
    /// above.
    bool read(String& name, bool& isDirectory);
    /// Returns true if the folder could not be opened, or if an error, which is logged as a warning, ended
    /// the entries early.
    bool hasFailed() const { return static_cast<bool>(m_error); }
    /// Returns the system's code of that failure; zero if nothing has failed.
    const std::error_code& getError() const { return m_error; }
    /// Returns the name of the next entry that is not a folder; empty at the end.
    String readNextFile();
    /// Returns the name of the next entry that is a folder; empty at the end.
    String readNextDirectory();
    /// Returns the folder's path, as opened, with a separator at the end.
    const String& getPathWithSlash() const { return m_pathWithSlash; }

    // --- creation and queries (directory_create.cpp, directory_query.cpp) -----------------------------

    /// Creates one folder. @return true if it exists now; otherwise an error is logged.
    static bool createDirectory(SmartCStr path);
    /// Creates a folder and all missing folders above it, as createDirectory() does.
    static bool createDirectoryRecursively(SmartCStr path);
    /// Creates a new folder with a random decimal number as its name. @return its path; empty on failure.
    static String createTemporaryDirectory(SmartCStr base);
    /// Returns true if the folder has no entries or does not exist.
    /// @errors false and a warning if it cannot be read.
    static bool isDirectoryEmpty(SmartCStr path);
    /// Returns the bytes in all files of the tree, without links. Files that cannot be read are logged and
    /// left out.
    static uint64 getSize(SmartCStr path);
    /// Adds up the bytes in all files of the tree as the form above does. @return true if all of it could be
    /// read.
    static bool getSize(SmartCStr path, uint64& size);
    /// Returns a hash of the content of a tree: CRC-32C (started at -1, inverted at the end) over the entries
    /// of each folder in the byte order of their names. Each entry contributes a letter ('f' file, 'd'
    /// folder, 'l' link, 'o' other), its name and a zero byte. After that a file contributes its content and
    /// the content's size in 8 bytes, lowest first; a link contributes its text and a zero byte; a folder
    /// contributes its entries, 'u' and a zero byte. Times, owners and permissions are ignored.
    /// @errors 0 and a warning if anything cannot be read.
    static uint32 getDirectoryHash(SmartCStr path);
    /// Searches for an entry named @p name that is not a folder: in the folder, then in each folder below it,
    /// depth first, in the file system's order. @return true if one was found; @p result is then its path.
    /// Folders that cannot be read are logged and skipped.
    static bool findFile(SmartCStr path, SmartCStr name, String& result);
    /// Reads the bytes that the user may still use on the disk that contains @p path. @return false if they
    /// are not known.
    static bool getFreeDiskSpace(SmartCStr path, uint64& free);
    /// Like the form above, with the size of the disk. @threads main.
    static bool getFreeDiskSpace(SmartCStr path, uint64& free, uint64& total);

    // --- deletion (directory_delete.cpp) ---------------------------------------------------------------

    /// Deletes an empty folder. @return true if it no longer exists.
    static bool deleteDirectory(SmartCStr path);
    /// Deletes a folder and everything in it. Folders that the user owns and that lack the necessary
    /// permissions are granted them. What cannot be deleted is left; the rest is deleted.
    /// @return true if it no longer exists; false for a file or link, which is not deleted.
    static bool deleteDirectoryRecursively(SmartCStr path);
    /// Deletes everything in a folder as deleteDirectoryRecursively() does, but not the folder, which keeps
    /// its permissions. @return true if it is empty now or does not exist.
    static bool deleteDirectoryContentsRecursively(SmartCStr path);
    /// Like deleteDirectoryRecursively(); a failure is treated as in File::deleteFileNowOrLater().
    /// @param origin  who requested the deletion, a tag such as "[cache][clean]".
    static bool deleteDirectoryRecursivelyNowOrLater(SmartCStr origin, SmartCStr path, bool silent = false);
    /// Adds an existing path to the filesystem blacklist at once and deletes the tree on the delete-IO queue,
    /// as File::deleteFileAsyncOrLater() deletes a file.
    static void deleteDirectoryRecursivelyAsyncOrLater(SmartCStr origin, SmartCStr path);
    /// Deletes the files of a tree that were neither created nor modified after @p utcStamp.
    /// @return the number of files deleted.
    static int deleteDirectoryContentsOlderThan(SmartCStr path, uint64 utcStamp);
    /// Deletes the folders below @p path that contain no file at any depth. @return true if none remains or
    /// @p path does not exist.
    static bool deleteEmptyDirectoriesInPathRecursively(SmartCStr path);

    // --- copies and ownership (directory_copy.cpp, directory_ownership.cpp) ----------------------------

    /// Copies everything in @p from into @p to, which is created if missing. Files are copied with
    /// permissions and time of modification and replace existing files; links are copied as links. @return
    /// true if everything was copied; a warning is logged for everything that was not.
    static bool copyDirectoryContentsRecursively(SmartCStr from, SmartCStr to);
    /// Makes the current user the owner of a tree, with full access to it. @return true if this succeeded for
    /// the whole tree.
    static bool takeOwnership(SmartCStr path);

    // --- cleaning (directory_clean.cpp) ----------------------------------------------------------------

    /// Deletes each entry of the folder with the NowOrLater forms. @return true if all are deleted now or the
    /// folder does not exist. @errors false and, unless @p silent, a warning if it cannot be read.
    static bool deleteDirectoryContentsRecursivelyNowOrLater(SmartCStr origin, SmartCStr path,
                                                             bool silent = false);

    /// Deletes the entries "cache_PREFIX_*.qel" of a folder on the delete-IO queue.
    /// @param keep  full paths with Unix separators that are kept.
    /// @return the number of entries passed to the queue.
    static int cleanCacheDirectory(SmartCStr path, SmartCStr prefix, const Set<String>& keep);
    /// Returns a path "cache_PREFIX_XXXXXXXX.qel" in the folder that does not exist; no file is created.
    static String getNewCacheFile(SmartCStr path, SmartCStr prefix);
    /// Deletes, with the NowOrLater forms, each entry of a folder whose full path does not begin with one of
    /// the strings in @p keep.
    /// @param silent  true to log nothing about entries that could not be deleted now.
    /// @return the number of these entries, deleted now or later.
    static int cleanPrepareDirectory(SmartCStr path, const Vector<String>& keep, bool silent = false);
    /// Deletes, with the NowOrLater forms, the entries of a folder whose name begins with @p prefix.
    /// @return the number of these entries, deleted now or later.
    static int deletePrepareFilesWithPrefix(SmartCStr path, SmartCStr prefix);

    /// Fills the script class @p cls. Defined in script/directory_binding.cpp.
    static void bindSqVM(qelSq::Object* cls);

private:
    struct Iteration;

    String m_pathWithSlash;
    std::error_code m_error;
    std::unique_ptr<Iteration> m_iteration;
};

} // namespace qel
