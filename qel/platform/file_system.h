// Files, folders, links and disks of the operating system; each function makes one call.
#pragma once

#include <qel/platform/api.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ios>
#include <istream>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

namespace qel::platform {

/// The result of a call: zero on success, otherwise the system's own code in the system category.
/// An interrupted call is repeated inside the function; callers never see "interrupted".
using FileError = std::error_code;

/// An open file or folder. It is closed on destruction and never inherited by a child process.
/// A default handle is closed; used as a base for names, it means the process's working folder.
/// @threads one at a time, except readAt(), which any number of threads may call.
class QEL_API FileHandle {
public:
    FileHandle() = default;
    /// Takes ownership of an open descriptor.
    explicit FileHandle(int id) : m_id(id) {}
    FileHandle(FileHandle&& other) noexcept : m_id(other.release()) {} ///< Takes the descriptor over.
    FileHandle& operator=(FileHandle&& other) noexcept;                ///< Takes over the descriptor.
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    ~FileHandle() { close(); }

    /// Returns true if a file or folder is open.
    bool isOpen() const { return m_id >= 0; }
    /// Returns the system's descriptor; -1 if closed.
    int id() const { return m_id; }
    /// Closes the handle. @return an error of writes that the system had deferred; closing a closed handle
    /// succeeds.
    FileError close();
    /// Releases ownership of the descriptor: the caller must close it.
    int release();

    /// Reads from the current position. @p done is 0 at the end of the file and may be smaller than @p size.
    FileError read(void* data, std::size_t size, std::size_t& done);
    /// Reads at @p offset without changing the position.
    FileError readAt(std::uint64_t offset, void* data, std::size_t size, std::size_t& done) const;
    /// Writes at the current position; @p done may be smaller than @p size.
    FileError write(const void* data, std::size_t size, std::size_t& done);
    /// Truncates the file to @p size bytes, or extends it to that size with a hole.
    FileError setSize(std::uint64_t size);
    /// Extends the file to @p size bytes and reserves disk space for them.
    /// @errors std::errc::operation_not_supported if the file system cannot guarantee the space.
    FileError allocate(std::uint64_t size);
    /// Returns once the content is on disk.
    FileError sync();

private:
    int m_id = -1;
};

/// The condition to wait for on a pipe or terminal.
enum class Readiness { Reading, Writing };

/// Waits until a read or write of @p file would not fail with "try again". Files are always ready.
QEL_API FileError waitUntilReady(const FileHandle& file, Readiness readiness);

/// From now on a write beyond the process's limit for the size of a file fails with
/// std::errc::file_too_large instead of ending the process, which is the default. Programs that the process
/// starts keep the default.
/// @threads any thread.
QEL_API void failOversizedWrites();

/// The way in which a file is opened.
enum class OpenMode {
    Read,          ///< an existing file for reading; never blocks on a pipe without a writer
    Write,         ///< an existing file for writing at its start
    CreateOrEmpty, ///< for writing; created if missing, emptied if it exists
    CreateNew,     ///< for writing; fails with std::errc::file_exists if the name is taken
    Append,        ///< for writing at the end; created if missing
};

/// The kind of an entry in a folder.
enum class FileKind {
    File,
    Directory,
    SymLink,
    Other,   ///< a device, pipe or socket
    Unknown, ///< the folder does not record it, and the status of the entry cannot be read
};

/// A point in time: whole seconds since 1970-01-01 UTC, and nanoseconds within the second.
struct FileTime {
    std::int64_t seconds = 0;      ///< whole seconds, rounded down
    std::uint32_t nanoseconds = 0; ///< 0 to 999,999,999
};

/// Distinguishes a file from all others that exist at the same time.
struct FileIdentity {
    std::uint64_t device = 0; ///< identifies the file system
    std::uint64_t number = 0; ///< identifies the file within it

    bool operator==(const FileIdentity&) const = default; ///< Returns true for the same file.
};

/// What the system reports about a file, folder or link.
struct FileStatus {
    FileKind kind = FileKind::Other; ///< the kind of the entry
    std::uint64_t size = 0;          ///< size in bytes
    FileTime modified;               ///< time of the last change of the content
    FileTime created; ///< time of birth, or the last change of the entry if the file system records none
    std::uint32_t mode = 0;   ///< permission bits, 07777
    bool ownedByUser = false; ///< the process's effective user is the owner
    FileIdentity identity;    ///< distinguishes it from all others
};

/// The treatment of a link as the last part of a path.
enum class Links { Follow, Keep };

// Paths are UTF-8 by convention, but any bytes except NUL pass unchanged. A relative path starts at the
// folder `base`, which is the working folder by default.

/// Opens @p path into @p file; the process mask limits the permissions of a new file, which are otherwise
/// reading and writing for all.
/// @param links  Links::Keep refuses a link as the last part.
QEL_API FileError openFile(FileHandle& file, const char* path, OpenMode mode, Links links = Links::Follow,
                           const FileHandle& base = {});
/// Opens the folder @p path as a base for names and for DirectoryReader.
/// @param links  Links::Keep refuses a link as the last part.
QEL_API FileError openDirectory(FileHandle& directory, const char* path, Links links = Links::Follow,
                                const FileHandle& base = {});
/// Opens a file as the C library's fopen() does with @p mode, but never inherited by a child.
/// @return null on failure.
/// @owner the caller closes it.
QEL_API std::FILE* openStandardFile(const char* path, const char* mode, FileError& error);
/// Opens a standard stream whose descriptor is never inherited by a child. @return null on failure.
QEL_API std::unique_ptr<std::iostream> openStandardStream(const char* path, std::ios_base::openmode mode,
                                                          FileError& error);

/// Reads the status of @p path.
QEL_API FileError readStatus(FileStatus& status, const char* path, Links links = Links::Follow,
                             const FileHandle& base = {});
/// Reads the status of an open file or folder.
QEL_API FileError readStatus(FileStatus& status, const FileHandle& file);
/// Checks whether the process's effective user may read, or write, @p path; nothing is opened.
QEL_API FileError testAccess(const char* path, bool forWriting);
/// Resolves @p path to its absolute form without links, "." and ".."; every part must exist.
QEL_API FileError resolvePath(std::string& result, const char* path);
/// Returns the folder for temporary files of all programs in @p result.
QEL_API FileError temporaryDirectory(std::string& result);
/// Reads the free bytes that the user may still use, and the total size, of the file system that holds @p
/// path.
QEL_API FileError readDiskSpace(std::uint64_t& free, std::uint64_t& total, const char* path);

/// Creates a folder; the process mask limits its permissions.
QEL_API FileError makeDirectory(const char* path, const FileHandle& base = {});
/// Creates the symbolic link @p link, which contains the text @p target.
QEL_API FileError makeSymLink(const char* target, const char* link, const FileHandle& base = {});
/// Reads the text that a symbolic link contains.
QEL_API FileError readSymLink(std::string& target, const char* link, const FileHandle& base = {});
/// Renames within one file system; an existing file with the new name is replaced atomically.
QEL_API FileError rename(const char* from, const char* to, const FileHandle& fromBase = {},
                         const FileHandle& toBase = {});
/// Removes a file or link, never a folder; the target of a link is not affected.
QEL_API FileError removeFile(const char* path, const FileHandle& base = {});
/// Removes an empty folder.
QEL_API FileError removeDirectory(const char* path, const FileHandle& base = {});
/// Sets the permission bits of @p path itself; fails if it is a link.
QEL_API FileError setMode(const char* path, std::uint32_t mode, const FileHandle& base = {});
/// Sets the permission bits of an open file or folder.
QEL_API FileError setMode(const FileHandle& file, std::uint32_t mode);
/// Sets the owner and group of @p path itself, even if it is a link, to the process's effective user and
/// group.
QEL_API FileError setOwnerToUser(const char* path, const FileHandle& base = {});
/// Sets the time of the last change of the content; the time of the last access becomes now.
/// @param modified  null for now.
QEL_API FileError setModified(const char* path, const FileTime* modified, const FileHandle& base = {});

/// An entry in a folder.
struct DirectoryEntry {
    std::string name;                  ///< the name without the folder
    FileKind kind = FileKind::Unknown; ///< a link is reported as a link
};

/// Reads the names in a folder, without "." and "..", in the order of the file system.
/// @threads one at a time.
class QEL_API DirectoryReader {
public:
    /// Starts at the first entry of an open folder. The same handle can be read only once.
    explicit DirectoryReader(const FileHandle& directory) : m_directory(directory) {}

    /// Reads the next entry. @return false at the end and on an error, which @p error then contains.
    bool next(DirectoryEntry& entry, FileError& error);

private:
    bool readBlock(FileError& error);
    void take(const void* record, DirectoryEntry& entry) const;

    const FileHandle& m_directory;
    std::unique_ptr<char[]> m_block;
    std::size_t m_blockSize = 0;
    std::size_t m_position = 0;
};

} // namespace qel::platform
