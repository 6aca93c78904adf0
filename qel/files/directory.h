// The entries of one folder, and operations on whole trees.
#pragma once

#include <qel/files/file.h>

#include <system_error>

namespace qel {

/// Reads the entries of one folder; its static functions work on trees, caches and disks.
///
/// Operations on trees go from open folder to open folder and look at every name without following links:
/// what a link stands for is never deleted, copied or changed, loops of links end nowhere, and neither depth
/// nor the length of a path is limited. They hold a fixed number of files open at a time. A path given by the
/// caller may itself be a link to a folder, unless the folder itself is to be deleted.
/// A folder or file that cannot be read does not end them: they do everything else, log a warning for the
/// first failure in each folder, and report the failure by their result.
/// @threads an object belongs to one thread; the static functions may be called from any.
class QEL_API Directory : public Object {
    QEL_CLASS(Directory, Object)

public:
    /// A Directory without entries.
    Directory();
    /// Opens @p path as open() does.
    explicit Directory(SmartCStr path, bool silent = true);
    ~Directory() override;

    // --- iteration (directory.cpp) ---------------------------------------------------------------------

    /// Starts on the entries of @p path, in the file system's order, without "." and "..". A folder that
    /// can't be opened has no entries. @param silent  false logs such a failure at info level.
    /// @return whether it could be opened.
    bool open(SmartCStr path, bool silent = true);
    /// Reads the next entry with all that is known about it. An entry whose status cannot be read is marked
    /// FileInfo::isUnknown, and the first of them is logged as a warning. @return false at the end; ask
    /// hasFailed() whether that was the last entry.
    bool read(File::FileInfo& info);
    /// Reads the next entry's name. @return as the form above.
    bool read(String& name);
    /// Reads the next entry's name, and whether it is a folder or a link to one. @return as the form above.
    bool read(String& name, bool& isDirectory);
    /// Whether the folder could not be opened, or an error, which is logged as a warning, ended the entries
    /// before the last one.
    bool hasFailed() const { return static_cast<bool>(m_error); }
    /// The system's code of that failure; zero if there was none.
    const std::error_code& getError() const { return m_error; }
    /// The name of the next entry that is no folder; empty at the end.
    String readNextFile();
    /// The name of the next entry that is a folder; empty at the end.
    String readNextDirectory();
    /// The folder's path, as opened, with a separator at the end.
    const String& getPathWithSlash() const { return m_pathWithSlash; }

    // --- making, looking (directory_create.cpp, directory_query.cpp) ----------------------------------

    /// Makes one folder. @return whether it exists now; else an error is logged.
    static bool createDirectory(SmartCStr path);
    /// Makes a folder and all that are missing above it, as createDirectory() does.
    static bool createDirectoryRecursively(SmartCStr path);
    /// Makes a new folder with a random decimal number for a name. @return its path; empty on failure.
    static String createTemporaryDirectory(SmartCStr base);
    /// Whether the folder has no entries; true also if it does not exist.
    /// @errors false and a warning if it cannot be read.
    static bool isDirectoryEmpty(SmartCStr path);
    /// Bytes in all files of the tree; links count nothing. What cannot be read is logged and left out.
    static uint64 getSize(SmartCStr path);
    /// Adds up the bytes in all files of the tree as the form above. @return whether all of it could be read.
    static bool getSize(SmartCStr path, uint64& size);
    /// A number that stands for the content of a tree: CRC-32C (started at -1, inverted at the end) over the
    /// entries of each folder in the byte order of their names. Each gives a letter ('f' file, 'd' folder,
    /// 'l' link, 'o' other), its name and a zero byte. Then a file gives its content and the content's size
    /// in 8 bytes, lowest first; a link gives its text and a zero byte; a folder gives its entries, 'u' and
    /// a zero byte. Times, owners and permissions don't count.
    /// @errors 0 and a warning when anything can't be read.
    static uint32 getDirectoryHash(SmartCStr path);
    /// Looks for anything but a folder named @p name: in the folder, then in each folder below it, depth
    /// first, in the file system's order. @return whether one was found; @p result is then its path.
    /// Folders that cannot be read are logged and left out.
    static bool findFile(SmartCStr path, SmartCStr name, String& result);
    /// Bytes that the user may still fill on the disk that holds @p path. @return false when it can't be
    /// told.
    static bool getFreeDiskSpace(SmartCStr path, uint64& free);
    /// As above, with the size of the disk. @threads main.
    static bool getFreeDiskSpace(SmartCStr path, uint64& free, uint64& total);

    // --- deleting (directory_delete.cpp) ---------------------------------------------------------------

    /// Deletes an empty folder. @return whether it is gone; true also when there was none.
    static bool deleteDirectory(SmartCStr path);
    /// Deletes a folder and everything in it. Folders of the user's own that lack the permissions for it are
    /// granted them. What can't be deleted stays, the rest is deleted.
    /// @return whether it is gone; true also if it did not exist, false for a file or link, which stays.
    static bool deleteDirectoryRecursively(SmartCStr path);
    /// Deletes everything in a folder as deleteDirectoryRecursively() does, but not the folder, which keeps
    /// its permissions. @return whether it is empty now; true also if it does not exist.
    static bool deleteDirectoryContentsRecursively(SmartCStr path);
    /// As deleteDirectoryRecursively(); a failure is treated as by File::deleteFileNowOrLater().
    /// @param origin  who wants it, a tag such as "[cache][clean]".
    static bool deleteDirectoryRecursivelyNowOrLater(SmartCStr origin, SmartCStr path, bool silent = false);
    /// Puts an existing path onto the filesystem blacklist at once and deletes the tree on the delete-IO
    /// queue as File::deleteFileAsyncOrLater() deletes a file.
    static void deleteDirectoryRecursivelyAsyncOrLater(SmartCStr origin, SmartCStr path);
    /// Deletes the files of a tree that were neither created nor modified after @p utcStamp. @return how
    /// many.
    static int deleteDirectoryContentsOlderThan(SmartCStr path, uint64 utcStamp);
    /// Deletes the folders below @p path that hold no file, however deep. @return whether none is left; true
    /// also if @p path does not exist.
    static bool deleteEmptyDirectoriesInPathRecursively(SmartCStr path);

    // --- copying, owning (directory_copy.cpp, directory_ownership.cpp) ---------------------------------

    /// Copies everything in @p from into @p to, which is created if missing: files with permissions and time
    /// of modification over files that are there, links as links. @return whether all was copied; a warning
    /// is logged for everything that could not be.
    static bool copyDirectoryContentsRecursively(SmartCStr from, SmartCStr to);
    /// Makes the current user the owner of a tree, with full access to it. @return whether all of it was
    /// done.
    static bool takeOwnership(SmartCStr path);

    // --- cleaning (directory_clean.cpp) ----------------------------------------------------------------

    /// Deletes each entry of the folder by the NowOrLater forms. @return whether all are gone now; true also
    /// if the folder does not exist. @errors false and, unless @p silent, a warning if it cannot be read.
    static bool deleteDirectoryContentsRecursivelyNowOrLater(SmartCStr origin, SmartCStr path,
                                                             bool silent = false);

    /// Deletes, on the delete-IO queue, the entries "cache_PREFIX_*.qel" of a folder.
    /// @param keep  full paths with Unix separators that stay. @return how many were given to the queue.
    static int cleanCacheDirectory(SmartCStr path, SmartCStr prefix, const Set<String>& keep);
    /// A path "cache_PREFIX_XXXXXXXX.qel" in the folder that doesn't exist; no file is made.
    static String getNewCacheFile(SmartCStr path, SmartCStr prefix);
    /// Deletes, by the NowOrLater forms, each entry of a folder whose full path doesn't begin with one of the
    /// texts in @p keep. @param silent  logs nothing about what could not be deleted now. @return how many.
    static int cleanPrepareDirectory(SmartCStr path, const Vector<String>& keep, bool silent = false);
    /// Deletes, by the NowOrLater forms, the entries of a folder whose name begins with @p prefix.
    /// @return how many.
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
