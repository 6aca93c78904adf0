#include <qel/platform/shared_folder.h>

#include <qel/platform/linux/file_system_p.h>

#include <cstdio>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

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

/// Queries only the size of the list. This does not work for a handle from openBaseFolder(), but it does for
/// a folder opened for reading.
bool hasAccessList(const FileHandle& file) {
    if (::fgetxattr(file.id(), kAccessList, nullptr, 0) >= 0) return true;
    if (errno == ENODATA || errno == ENOTSUP) return false;
    FileHandle readable;
    if (errno != EBADF || openById(readable, ".", O_RDONLY | O_DIRECTORY, file)) return true;
    return ::fgetxattr(readable.id(), kAccessList, nullptr, 0) >= 0 || (errno != ENODATA && errno != ENOTSUP);
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
