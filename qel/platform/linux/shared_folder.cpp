#include <qel/platform/shared_folder.h>

#include <qel/platform/linux/file_system_p.h>

#include <cstdio>
#include <string>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>

namespace qel::platform {

namespace {

constexpr const char* kAccessList = "system.posix_acl_access";
constexpr mode_t kForUserOnly = 0600;

FileError openById(FileHandle& file, const char* path, int flags, const FileHandle& base) {
    int id = -1;
    const FileError error = perform(Operation::Open, [&] {
        return id = ::openat(baseId(base), path, flags | O_CLOEXEC | O_NOCTTY, kForUserOnly);
    });
    if (!error) file = FileHandle(id);
    return error;
}

/// Asks for the size of the list only.
FileError readAccessList(const FileHandle& file) {
    return perform(Operation::ReadAccess, [&] { return ::fgetxattr(file.id(), kAccessList, nullptr, 0); });
}

/// A handle from openBaseFolder() does not return the list; the folder has to be opened for reading. If the
/// system does not say whether there is a list, it has to be expected.
bool hasAccessList(const FileHandle& file) {
    FileHandle readable;
    FileError error = readAccessList(file);
    if (error == std::errc::bad_file_descriptor && !openById(readable, ".", O_RDONLY | O_DIRECTORY, file))
        error = readAccessList(readable);
    return error != std::errc::no_message_available && error != std::errc::not_supported;
}

/// Returns the name that the system itself has for an open file. It exists only where /proc is mounted.
std::string nameOfHandle(const FileHandle& file) {
    return "/proc/self/fd/" + std::to_string(file.id());
}

/// For file systems that cannot rename without replacing.
FileError moveByLink(const char* from, const char* to, const FileHandle& folder) {
    const FileError error =
        perform(Operation::MakeLink, [&] { return ::linkat(baseId(folder), from, baseId(folder), to, 0); });
    return error ? error : removeFile(from, folder);
}

} // namespace

FileError openBaseFolder(FileHandle& folder, const char* path, Links links, const FileHandle& base) {
    return openById(folder, path, O_PATH | O_DIRECTORY | (links == Links::Keep ? O_NOFOLLOW : 0), base);
}

FileError readOwnership(FileOwnership& ownership, const FileHandle& file) {
    struct stat record {};
    const FileError error = perform(Operation::ReadStatus, [&] { return ::fstat(file.id(), &record); });
    if (error) return error;
    ownership.user = record.st_uid;
    ownership.group = record.st_gid;
    ownership.mode = record.st_mode & 07777;
    ownership.hasAccessList = hasAccessList(file);
    return {};
}

FileError createPrivateFile(FileHandle& file, const char* name, const FileHandle& folder) {
    return openById(file, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, folder);
}

FileError createUnnamedFile(FileHandle& file, const FileHandle& folder) {
    FileHandle created;
    if (const FileError error = openById(created, ".", O_WRONLY | O_TMPFILE, folder)) return error;
    FileStatus status;
    if (const FileError error = readStatus(status, nameOfHandle(created).c_str())) return error;
    file = std::move(created);
    return {};
}

FileError nameFile(const FileHandle& file, const char* name, const FileHandle& folder) {
    return perform(Operation::MakeLink, [&] {
        return ::linkat(AT_FDCWD, nameOfHandle(file).c_str(), baseId(folder), name, AT_SYMLINK_FOLLOW);
    });
}

FileError setOwnership(const FileHandle& file, std::uint32_t user, std::uint32_t group) {
    return perform(Operation::SetOwner, [&] { return ::fchown(file.id(), user, group); });
}

FileError setGroup(const FileHandle& file, std::uint32_t group) {
    return setOwnership(file, static_cast<std::uint32_t>(-1), group);
}

FileError renameToFreeName(const char* from, const char* to, const FileHandle& folder) {
    const FileError error = perform(Operation::Rename, [&] {
        return ::renameat2(baseId(folder), from, baseId(folder), to, RENAME_NOREPLACE);
    });
    const bool isUnknown = error == std::errc::invalid_argument || error == std::errc::function_not_supported;
    return isUnknown ? moveByLink(from, to, folder) : error;
}

FileError syncFolder(const FileHandle& folder) {
    FileHandle readable;
    if (const FileError error = openById(readable, ".", O_RDONLY | O_DIRECTORY, folder)) return error;
    return readable.sync();
}

} // namespace qel::platform
