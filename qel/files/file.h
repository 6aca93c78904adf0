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
/// Paths are UTF-8 by convention and may contain any byte that the operating system allows in a name. On
/// Linux that includes the backslash: functions that change a path's separators to the host's leave a path
/// unchanged if it exists as it is, so a file whose name contains a backslash is never mistaken for another.
/// No function throws or starts a program; failures are reported by the result, and by a log line where
/// stated.
/// @threads any thread, for all functions.
class QEL_API File : public Object {
    QEL_CLASS(File, Object)

public:
    /// What is known about a file, folder or link. A link has the size and times of its target, or its own if
    /// the target is missing; a link to a folder is both a folder and a link.
    struct FileInfo {
        String name;                 ///< without the folder; set only by Directory::read()
        uint64 size = 0;             ///< in bytes
        uint64 creationTime = 0;     ///< UTC stamp; the last change of the entry if the file system stores
                                     ///< no time of birth
        uint64 modificationTime = 0; ///< UTC stamp
        bool isDirectory = false;    ///< a folder, or a link to one
        bool isSymLink = false;      ///< a symbolic link
        bool isSpecial = false;      ///< a device, pipe or socket: opening it may wait without end
        bool isUnknown = false;      ///< its status could not be read: size and times are 0, and the other
                                     ///< flags are set only as far as its folder records the kind
    };

    // --- paths as text (file_path.cpp); no file is accessed --------------------------------------------

    /// Returns the form of @p path that the operating system accepts at any length. Linux has no such form:
    /// returns @p path.
    static String pathToLongPath(SmartCStr path);
    /// Reverses pathToLongPath().
    static String longPathToPath(SmartCStr path);
    /// Converts @p path to UTF-16 with a terminating zero. A byte that is not valid UTF-8 is read as code
    /// page 1252.
    static Vector<uint16> pathToWideCharWindows(SmartCStr path);
    /// Sets @p path from zero-terminated UTF-16; an unpaired surrogate becomes U+FFFD, and null becomes "".
    static void pathFromWideCharWindows(String& path, const uint16* wide);
    /// Resolves the parts "." and ".." and repeated separators of @p path without accessing files; a relative
    /// path starts at @p base, and a separator at the end is kept. @return true on success; otherwise @p path
    /// is unchanged.
    /// @errors false if ".." leads above the root folder, or above the start of a relative @p base.
    static bool pathCanonicalize(String& path, SmartCStr base);
    /// Appends the host's separator unless @p path is empty or ends with one.
    static void pathEndWithSeparator(String& path);
    /// Removes the separators at the end; the root folder keeps one.
    static void pathStripEndingSeparator(String& path);
    /// Turns backslashes into slashes, the separator of this host.
    static void pathSeparatorToHost(String& path);
    /// Turns backslashes into slashes.
    static void pathSeparatorToUnix(String& path);
    /// Turns slashes into backslashes.
    static void pathSeparatorToWindows(String& path);
    /// Returns the separator of this host.
    static char pathSeparator();
    /// Returns the separator of this host as a string.
    static const char* getPathSeparatorForHost();
    /// Splits @p path at its last slash: "a/b.txt" into "a" and "b.txt", "b.txt" into "" and "b.txt", and
    /// "/b" into "/" and "b".
    static void splitFilePath(SmartCStr path, String& directory, String& name);
    /// Returns the part after the last slash.
    static String getFilenameFromPath(SmartCStr path);
    /// Returns the part before the last slash, as splitFilePath() does.
    static String stripFilenameFromPath(SmartCStr path);
    /// Returns the part after the last dot of the file name, without the dot. A dot at the start of the name
    /// does not begin an extension.
    static String getExtensionFromPath(SmartCStr path);
    /// Returns the path without its extension and the dot.
    static String stripExtensionFromPath(SmartCStr path);
    /// Returns the path, a dot and @p extension, which may already begin with the dot; "" adds nothing.
    static String addExtensionToPath(SmartCStr path, SmartCStr extension);

    // --- queries (file_query.cpp) ----------------------------------------------------------------------

    /// Returns true if the path exists. A link exists even if its target does not.
    static bool existsFile(SmartCStr path);
    /// Checks whether @p path is a folder. @return true if it exists; otherwise @p isDirectory is unchanged.
    static bool checkIfDirectory(SmartCStr path, bool& isDirectory);
    /// Returns true if @p path can be read, or written. For a path that does not exist, the result is that of
    /// its nearest existing parent, and so reports whether the path could be created.
    static bool isAccessible(SmartCStr path, bool forWriting);
    /// Returns the bytes in the file; 0 if it does not exist.
    static uint64 getFileSize(SmartCStr path);
    /// Reads all fields except the name. @return false if @p path does not exist; @p info is then unchanged.
    static bool getFileInfo(SmartCStr path, FileInfo& info);
    /// Returns the CRC-32C of @p size bytes from @p offset, started at -1 and not inverted; bytes after the
    /// end of the file are left out. @errors -1 if the file cannot be opened, or cannot be read that far.
    static uint32 getFileHash(SmartCStr path, uint64 offset, uint64 size);
    /// Returns true if two files contain the same bytes. @param silent  true to log no file that cannot be
    /// opened.
    static bool compareFiles(SmartCStr a, SmartCStr b, bool silent);

    // --- changes (file_write.cpp, file_change.cpp) -----------------------------------------------------

    /// Creates or empties the file and writes @p bytes.
    /// @errors false only if the file cannot be opened; a failed write is logged as an error.
    static bool writeFile(SmartCStr path, ConstByteSpan bytes);
    /// Writes @p bytes as one zstd frame with its content size; see Buffer::loadFromFile().
    /// @errors as writeFile(); also false if compression fails, and the file is then empty.
    static bool writeFileCompressed(SmartCStr path, ConstByteSpan bytes);
    /// Copies content, permission bits and time of modification of a file. An existing file @p to is replaced
    /// atomically at the end, and is unchanged after a failure; if @p to is a link, it is kept and its target
    /// is replaced. @errors false and a warning; also if @p to is a device, pipe or socket, or a link without
    /// a target, all of which are kept.
    static bool copyFile(SmartCStr from, SmartCStr to);
    /// Renames @p from, replacing an existing file @p to; between disks the file is copied and then removed.
    /// @errors false and a warning; @p from is then still complete.
    static bool moveFile(SmartCStr from, SmartCStr to);
    /// Creates or empties the file and extends it with zeros. @param sparse  true to use no disk space.
    /// @errors false and a warning; a file that could not be extended is removed again if it was new.
    static bool createEmptyFile(SmartCStr path, uint64 size, bool sparse);
    /// Creates the symbolic link @p link with the target @p target.
    /// @param isDirectory  true if the target is a folder, for systems that distinguish such links.
    static bool createSymLink(SmartCStr link, SmartCStr target, bool isDirectory);
    /// Removes @p link if it is a symbolic link. @return true if nothing of that name remains.
    static bool deleteSymLink(SmartCStr link);
    /// Sets the time of modification to now; creates an empty file if it does not exist.
    static bool touchFile(SmartCStr path);
    /// Truncates or extends an existing file to @p size bytes. @errors false and a warning.
    static bool truncateFile(SmartCStr path, uint64 size);
    /// Opens a file as std::fopen() does, but never inherited by a child process. @return null on failure.
    /// @owner the caller closes it with std::fclose().
    static std::FILE* openFileHandle(SmartCStr path, SmartCStr mode);
    /// Opens a standard stream that is never inherited by a child process. @return null on failure.
    static std::unique_ptr<std::iostream> openStdFileStream(SmartCStr path, std::ios_base::openmode mode);

    // --- deletion (file_delete.cpp) --------------------------------------------------------------------

    /// Deletes a file or link, never a folder. If both the file and its folder lack write permission, both
    /// are granted it and the deletion is tried again. @return true if the file no longer exists.
    static bool deleteFile(SmartCStr path, bool silent = false);
    /// Deletes as deleteFile() does, after changing the path's separators to the host's. If that fails, the
    /// absolute path is added to the filesystem blacklist and passed to the DeferredDeletion: by a main-queue
    /// task, unless the caller is the main thread.
    /// @param origin  who requested the deletion, a tag such as "[cache][clean]".
    /// @return true if the file no longer exists.
    static bool deleteFileNowOrLater(SmartCStr origin, SmartCStr path, bool silent = false);
    /// Changes the separators of an existing path to the host's, adds the path to the filesystem blacklist at
    /// once, and deletes it on the delete-IO queue, in the order of requests. If that fails, a main-queue
    /// task passes it to the DeferredDeletion.
    static void deleteFileAsyncOrLater(SmartCStr origin, SmartCStr path, bool silent = false);

    // --- cache warming (file_prefetch.cpp) -------------------------------------------------------------

    /// Reads the file's content into the system's file cache if the machine's memory exceeds the file's size
    /// by more than 8 GiB.
    static void prefetchFileIfPossible(SmartCStr path);

    /// Fills the script class @p cls. Defined in script/file_binding.cpp.
    static void bindSqVM(qelSq::Object* cls);
};

} // namespace qel
