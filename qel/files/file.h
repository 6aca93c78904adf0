// Paths and single files: names, queries, changes and careful deletion.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <cstdio>
#include <ios>
#include <istream>
#include <memory>

namespace qel {

/// A toolbox for paths and single files; it holds no state.
///
/// Paths are UTF-8 by convention and may hold any byte that the operating system allows in a name. On Linux
/// that includes the backslash: where a path's separators are said to become the host's, a path that exists
/// as it stands is left alone, so that a file whose name holds a backslash is never taken for another.
/// No function throws or starts a program; failures are told by the result, and by a log line where said.
/// @threads any thread, for all functions.
class QEL_API File : public Object {
    QEL_CLASS(File, Object)

public:
    /// What is known about a file, folder or link. A link shows the size and times of what it stands for,
    /// its own when that is missing; a link to a folder is both a folder and a link.
    struct FileInfo {
        String name;                 ///< without the folder; set by Directory::read() alone
        uint64 size = 0;             ///< bytes
        uint64 creationTime = 0;     ///< UTC stamp; the last change of the entry where the file system keeps
                                     ///< no time of birth
        uint64 modificationTime = 0; ///< UTC stamp
        bool isDirectory = false;    ///< a folder, or a link to one
        bool isSymLink = false;      ///< a symbolic link
        bool isSpecial = false;      ///< a device, pipe or socket: opening it can wait for ever
        bool isUnknown = false;      ///< its status could not be read: size and times are 0, and the other
                                     ///< flags are set only as far as its folder records the kind
    };

    // --- paths as text (file_path.cpp); no file is touched ---------------------------------------------

    /// The form of @p path that the operating system takes at any length. Linux knows no such form: the path.
    static String pathToLongPath(SmartCStr path);
    /// The reverse of pathToLongPath().
    static String longPathToPath(SmartCStr path);
    /// @p path as UTF-16 with a terminating zero. A byte that isn't UTF-8 counts as code page 1252.
    static Vector<uint16> pathToWideCharWindows(SmartCStr path);
    /// Sets @p path from UTF-16 that ends with a zero; half a surrogate pair becomes U+FFFD. Null gives "".
    static void pathFromWideCharWindows(String& path, const uint16* wide);
    /// Resolves the parts "." and ".." and doubled separators of @p path by text alone, a relative path from
    /// @p base on; a separator at the end stays. @return whether it worked; else @p path is as it was.
    /// @errors false when ".." leads above the root folder, or above the start of a relative @p base.
    static bool pathCanonicalize(String& path, SmartCStr base);
    /// Appends the host's separator unless @p path is empty or ends with one.
    static void pathEndWithSeparator(String& path);
    /// Removes the separators at the end; the root folder keeps its one.
    static void pathStripEndingSeparator(String& path);
    /// Turns backslashes into slashes, the separator of this host.
    static void pathSeparatorToHost(String& path);
    /// Turns backslashes into slashes.
    static void pathSeparatorToUnix(String& path);
    /// Turns slashes into backslashes.
    static void pathSeparatorToWindows(String& path);
    /// The separator of this host.
    static char pathSeparator();
    /// The separator of this host as text.
    static const char* getPathSeparatorForHost();
    /// Cuts @p path at its last slash: "a/b.txt" gives "a" and "b.txt", "b.txt" gives "" and "b.txt", and
    /// "/b" gives "/" and "b".
    static void splitFilePath(SmartCStr path, String& directory, String& name);
    /// What stands behind the last slash.
    static String getFilenameFromPath(SmartCStr path);
    /// What stands before the last slash, as splitFilePath() gives it.
    static String stripFilenameFromPath(SmartCStr path);
    /// What stands behind the last dot of the file name, without the dot. A dot at the start of the name
    /// begins no extension.
    static String getExtensionFromPath(SmartCStr path);
    /// The path without its extension and the dot.
    static String stripExtensionFromPath(SmartCStr path);
    /// The path, a dot and @p extension, which may bring the dot itself; "" adds nothing.
    static String addExtensionToPath(SmartCStr path, SmartCStr extension);

    // --- queries (file_query.cpp) ----------------------------------------------------------------------

    /// Whether anything of that name exists. A link counts by itself: one without a target exists as well.
    static bool existsFile(SmartCStr path);
    /// Tells whether @p path is a folder. @return whether it exists; if not, @p isDirectory is as it was.
    static bool checkIfDirectory(SmartCStr path, bool& isDirectory);
    /// Whether @p path can be read, or written; of a path that doesn't exist, whether its nearest existing
    /// parent can, and so whether it could be made.
    static bool isAccessible(SmartCStr path, bool forWriting);
    /// Bytes in the file; 0 when there is none.
    static uint64 getFileSize(SmartCStr path);
    /// Reads all but the name. @return false when @p path doesn't exist; @p info is then as it was.
    static bool getFileInfo(SmartCStr path, FileInfo& info);
    /// CRC-32C over @p size bytes from @p offset, started at -1 and not inverted; what lies behind the end of
    /// the file is left out. @errors -1 when the file can't be opened, or read up to there.
    static uint32 getFileHash(SmartCStr path, uint64 offset, uint64 size);
    /// Whether two files hold the same bytes. @param silent  keeps quiet about a file that can't be opened.
    static bool compareFiles(SmartCStr a, SmartCStr b, bool silent);

    // --- changes (file_write.cpp, file_change.cpp) -----------------------------------------------------

    /// Makes or empties the file and writes @p bytes.
    /// @errors false only when the file can't be opened; a failed write is logged as an error.
    static bool writeFile(SmartCStr path, ConstByteSpan bytes);
    /// Writes @p bytes as one zstd frame with its content size; see Buffer::loadFromFile().
    /// @errors as writeFile(); false also when they can't be compressed, and the file is then empty.
    static bool writeFileCompressed(SmartCStr path, ConstByteSpan bytes);
    /// Copies content, permission bits and time of modification of a file. An existing file @p to is replaced
    /// in one step at the end, and after a failure it is as it was; a link @p to stays, and the file that it
    /// stands for is replaced. @errors false and a warning; also if @p to is a device, pipe or socket, or a
    /// link without a target, all of which stay.
    static bool copyFile(SmartCStr from, SmartCStr to);
    /// Renames @p from, over an existing file @p to; between disks the file is copied and then removed.
    /// @errors false and a warning; @p from is then still whole.
    static bool moveFile(SmartCStr from, SmartCStr to);
    /// Makes or empties the file and extends it with zeros. @param sparse  without taking room on the disk.
    /// @errors false and a warning; a file that could not be extended is removed again if it was new.
    static bool createEmptyFile(SmartCStr path, uint64 size, bool sparse);
    /// Makes the symbolic link @p link that stands for @p target.
    /// @param isDirectory  whether the target is a folder, for systems that tell such links apart.
    static bool createSymLink(SmartCStr link, SmartCStr target, bool isDirectory);
    /// Removes @p link if it is a symbolic link. @return true if nothing of that name remains.
    static bool deleteSymLink(SmartCStr link);
    /// Sets the time of modification to now; makes an empty file when there is none.
    static bool touchFile(SmartCStr path);
    /// Cuts or extends an existing file to @p size bytes. @errors false and a warning.
    static bool truncateFile(SmartCStr path, uint64 size);
    /// Opens as std::fopen() does, but never inherited by a child process. @return null on failure.
    /// @owner the caller closes it with std::fclose().
    static std::FILE* openFileHandle(SmartCStr path, SmartCStr mode);
    /// Opens a standard stream that is never inherited by a child process. @return null on failure.
    static std::unique_ptr<std::iostream> openStdFileStream(SmartCStr path, std::ios_base::openmode mode);

    // --- deletion (file_delete.cpp) --------------------------------------------------------------------

    /// Deletes a file or link, never a folder. A file without write permission in a folder without it gets
    /// a second try after both were granted. @return whether it is gone; true also when there was none.
    static bool deleteFile(SmartCStr path, bool silent = false);
    /// Deletes as deleteFile() does, with the path's separators made the host's. If that fails, the absolute
    /// path is put onto the filesystem blacklist and handed to the DeferredDeletion: by a main-queue task,
    /// unless the caller is the main thread.
    /// @param origin  who wants it, a tag such as "[cache][clean]". @return whether it is gone now.
    static bool deleteFileNowOrLater(SmartCStr origin, SmartCStr path, bool silent = false);
    /// Puts an existing path, with its separators made the host's, onto the filesystem blacklist at once and
    /// deletes it on the delete-IO queue, in the order of requests. If that fails, a main-queue task hands it
    /// to the DeferredDeletion.
    static void deleteFileAsyncOrLater(SmartCStr origin, SmartCStr path, bool silent = false);

    // --- cache warming (file_prefetch.cpp) -------------------------------------------------------------

    /// Brings the file's content into the system's file cache, if the machine has more than 8 GiB of memory
    /// over the file's size.
    static void prefetchFileIfPossible(SmartCStr path);

    /// Fills the script class @p cls. Defined in script/file_binding.cpp.
    static void bindSqVM(qelSq::Object* cls);
};

} // namespace qel
