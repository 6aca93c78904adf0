#include <qel/platform/linux/file_system_p.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace qel::platform {

namespace {

FileKind kindOf(unsigned mode) {
    if (S_ISREG(mode)) return FileKind::File;
    if (S_ISDIR(mode)) return FileKind::Directory;
    return S_ISLNK(mode) ? FileKind::SymLink : FileKind::Other;
}

FileTime timeOf(const struct statx_timestamp& stamp) {
    return {stamp.tv_sec, stamp.tv_nsec};
}

FileError readStatx(FileStatus& status, int id, const char* path, int flags) {
    struct statx record {};
    const FileError error = perform(Operation::ReadStatus, [&] {
        return ::statx(id, path, flags | AT_NO_AUTOMOUNT, STATX_BASIC_STATS | STATX_BTIME, &record);
    });
    if (error) return error;
    status.kind = kindOf(record.stx_mode);
    status.size = record.stx_size;
    status.modified = timeOf(record.stx_mtime);
    status.created = timeOf(record.stx_mask & STATX_BTIME ? record.stx_btime : record.stx_ctime);
    status.mode = record.stx_mode & 07777;
    status.ownedByUser = record.stx_uid == ::geteuid();
    status.identity.device = std::uint64_t(record.stx_dev_major) << 32 | record.stx_dev_minor;
    status.identity.number = record.stx_ino;
    return {};
}

} // namespace

FileError readStatus(FileStatus& status, const char* path, Links links, const FileHandle& base) {
    return readStatx(status, baseId(base), path, links == Links::Keep ? AT_SYMLINK_NOFOLLOW : 0);
}

FileError readStatus(FileStatus& status, const FileHandle& file) {
    return readStatx(status, file.id(), "", AT_EMPTY_PATH);
}

FileError testAccess(const char* path, bool forWriting) {
    return perform(Operation::ReadStatus,
                   [&] { return ::faccessat(AT_FDCWD, path, forWriting ? W_OK : R_OK, AT_EACCESS); });
}

FileError resolvePath(std::string& result, const char* path) {
    char* resolved = nullptr;
    const FileError error = perform(Operation::ReadLink, [&] {
        resolved = ::realpath(path, nullptr);
        return resolved ? 0 : -1;
    });
    if (error) return error;
    result = resolved;
    std::free(resolved);
    return {};
}

FileError temporaryDirectory(std::string& result) {
    FileError error;
    const std::filesystem::path path = std::filesystem::temp_directory_path(error);
    if (!error) result = path.native();
    return error;
}

FileError readDiskSpace(std::uint64_t& free, std::uint64_t& total, const char* path) {
    struct statvfs record {};
    const FileError error = perform(Operation::ReadStatus, [&] { return ::statvfs(path, &record); });
    if (error) return error;
    free = std::uint64_t(record.f_bavail) * record.f_frsize;
    total = std::uint64_t(record.f_blocks) * record.f_frsize;
    return {};
}

} // namespace qel::platform
