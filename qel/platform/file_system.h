// Files, folders, links and disks of the operating system, one call per function.
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

/// The result of a call: zero when it worked, else the system's own code in the system category.
/// An interrupted call is repeated in here; no caller ever sees "interrupted".
using FileError = std::error_code;

/// An open file or folder. Closes on destruction and is never inherited by a child process.
/// A default handle is closed; as a base for names it stands for the process's working folder.
/// @threads one at a time, but for readAt(), which any number of threads may call.
class QEL_API FileHandle {
public:
    FileHandle() = default;
    /// Takes over an open descriptor.
    explicit FileHandle(int id) : m_id(id) {}
    FileHandle(FileHandle&& other) noexcept : m_id(other.release()) {}
    FileHandle& operator=(FileHandle&& other) noexcept;
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    ~FileHandle() { close(); }

    /// Whether a file or folder is open.
    bool isOpen() const { return m_id >= 0; }
    /// The system's descriptor; -1 when closed.
    int id() const { return m_id; }
    /// Closes. @return what the system says of writes it had put off; closing a closed handle is no error.
    FileError close();
    /// Gives the descriptor away: the caller closes it.
    int release();

    /// Reads from the current position. @p done is 0 at the end of the file and may be less than @p size.
    FileError read(void* data, std::size_t size, std::size_t& done);
    /// Reads at @p offset without moving the position.
    FileError readAt(std::uint64_t offset, void* data, std::size_t size, std::size_t& done) const;
    /// Writes at the current position; @p done may be less than @p size.
    FileError write(const void* data, std::size_t size, std::size_t& done);
    /// Cuts the file or extends it by a hole to @p size bytes.
    FileError setSize(std::uint64_t size);
    /// Extends the file to @p size bytes that have their place on disk; std::errc::operation_not_supported
    /// where the file system can't promise it.
    FileError allocate(std::uint64_t size);
    /// Returns when the content is on the disk.
    FileError sync();

private:
    int m_id = -1;
};

/// What a pipe or terminal is waited for.
enum class Readiness { Reading, Writing };

/// Waits until @p file can be read or written without an error that says to try again; files always can.
QEL_API FileError waitUntilReady(const FileHandle& file, Readiness readiness);

/// How a file is opened.
enum class OpenMode {
    Read,          ///< an existing file for reading; never blocks on a pipe without a writer
    Write,         ///< an existing file for writing at its start
    CreateOrEmpty, ///< for writing; made when missing, emptied when not
    CreateNew,     ///< for writing; std::errc::file_exists when the name is taken
    Append,        ///< for writing at the end; made when missing
};

/// What a name in a folder stands for.
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

/// Tells two files apart for as long as both exist.
struct FileIdentity {
    std::uint64_t device = 0; ///< the file system
    std::uint64_t number = 0; ///< the file in it

    bool operator==(const FileIdentity&) const = default;
};

/// What the system knows about a file, folder or link.
struct FileStatus {
    FileKind kind = FileKind::Other; ///< what it is
    std::uint64_t size = 0;          ///< bytes
    FileTime modified;               ///< of the content
    FileTime created;         ///< where the file system has no birth time: the last change of the entry
    std::uint32_t mode = 0;   ///< permission bits, 07777
    bool ownedByUser = false; ///< the process's effective user is the owner
    FileIdentity identity;    ///< tells it from all others
};

/// Whether a link as the last part of a path is looked through.
enum class Links { Follow, Keep };

// Every path is UTF-8 by convention, but any bytes but NUL pass unchanged. A relative path starts at the
// folder `base`, which by default is the working folder.

/// Opens @p path into @p file; a new file may be read and written by all whom the process mask allows.
/// @param links  Links::Keep refuses a link as the last part.
QEL_API FileError openFile(FileHandle& file, const char* path, OpenMode mode, Links links = Links::Follow,
                           const FileHandle& base = {});
/// Opens the folder @p path, as a base for names and for DirectoryReader.
/// @param links  Links::Keep refuses a link as the last part.
QEL_API FileError openDirectory(FileHandle& directory, const char* path, Links links = Links::Follow,
                                const FileHandle& base = {});
/// Opens as the C library's fopen() does with @p mode, but never inherited by a child. @return null on
/// failure.
/// @owner the caller closes it.
QEL_API std::FILE* openStandardFile(const char* path, const char* mode, FileError& error);
/// Opens a standard stream that is never inherited by a child. @return null on failure.
QEL_API std::unique_ptr<std::iostream> openStandardStream(const char* path, std::ios_base::openmode mode,
                                                          FileError& error);

/// Reads what @p path stands for.
QEL_API FileError readStatus(FileStatus& status, const char* path, Links links = Links::Follow,
                             const FileHandle& base = {});
/// Reads what an open handle stands for.
QEL_API FileError readStatus(FileStatus& status, const FileHandle& file);
/// Whether the process's effective user may read, or write, @p path; nothing is opened.
QEL_API FileError testAccess(const char* path, bool forWriting);
/// The absolute form of @p path without links, "." and ".."; every part must exist.
QEL_API FileError resolvePath(std::string& result, const char* path);
/// The folder for temporary files of all programs.
QEL_API FileError temporaryDirectory(std::string& result);
/// Bytes that the user may still fill, and the size, of the file system that holds @p path.
QEL_API FileError readDiskSpace(std::uint64_t& free, std::uint64_t& total, const char* path);

/// Makes a folder; the process mask limits its access.
QEL_API FileError makeDirectory(const char* path, const FileHandle& base = {});
/// Makes the symbolic link @p link, which holds the text @p target.
QEL_API FileError makeSymLink(const char* target, const char* link, const FileHandle& base = {});
/// Reads the text that a symbolic link holds.
QEL_API FileError readSymLink(std::string& target, const char* link, const FileHandle& base = {});
/// Renames within a file system; an existing file of the new name is replaced in one step.
QEL_API FileError rename(const char* from, const char* to, const FileHandle& fromBase = {},
                         const FileHandle& toBase = {});
/// Removes a file or link, never a folder; what a link stands for is left alone.
QEL_API FileError removeFile(const char* path, const FileHandle& base = {});
/// Removes an empty folder.
QEL_API FileError removeDirectory(const char* path, const FileHandle& base = {});
/// Sets the permission bits of @p path itself; a link is refused.
QEL_API FileError setMode(const char* path, std::uint32_t mode, const FileHandle& base = {});
/// Sets the permission bits of an open file or folder.
QEL_API FileError setMode(const FileHandle& file, std::uint32_t mode);
/// Gives @p path itself, were it a link, to the process's effective user and group.
QEL_API FileError setOwnerToUser(const char* path, const FileHandle& base = {});
/// Sets the time of the last change of the content; the time of the last reading becomes now.
/// @param modified  null for now.
QEL_API FileError setModified(const char* path, const FileTime* modified, const FileHandle& base = {});

/// One name in a folder.
struct DirectoryEntry {
    std::string name;                  ///< without the folder
    FileKind kind = FileKind::Unknown; ///< a link counts as one
};

/// Reads the names in a folder, "." and ".." left out, in the order of the file system.
/// @threads one at a time.
class QEL_API DirectoryReader {
public:
    /// Starts on an open folder; the same folder may be read only once.
    explicit DirectoryReader(const FileHandle& directory) : m_directory(directory) {}

    /// Reads the next entry. @return false at the end and on an error, which @p error then holds.
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
