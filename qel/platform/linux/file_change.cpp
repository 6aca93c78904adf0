#include <qel/platform/linux/file_system_p.h>

#include <cstdio>
#include <ctime>
#include <sys/stat.h>
#include <unistd.h>

namespace qel::platform {

FileError makeDirectory(const char* path, const FileHandle& base) {
    return perform(Operation::MakeFolder, [&] { return ::mkdirat(baseId(base), path, 0777); });
}

FileError makeSymLink(const char* target, const char* link, const FileHandle& base) {
    return perform(Operation::MakeLink, [&] { return ::symlinkat(target, baseId(base), link); });
}

// A result that fills the buffer may have been truncated, so the link is read again with a larger one.
FileError readSymLink(std::string& target, const char* link, const FileHandle& base) {
    std::string text(256, '\0');
    for (;;) {
        ssize_t count = 0;
        const FileError error = perform(Operation::ReadLink, [&] {
            return count = ::readlinkat(baseId(base), link, text.data(), text.size());
        });
        if (error) return error;
        if (static_cast<std::size_t>(count) < text.size()) {
            target.assign(text, 0, static_cast<std::size_t>(count));
            return {};
        }
        text.resize(text.size() * 2);
    }
}

FileError rename(const char* from, const char* to, const FileHandle& fromBase, const FileHandle& toBase) {
    return perform(Operation::Rename, [&] { return ::renameat(baseId(fromBase), from, baseId(toBase), to); });
}

FileError removeFile(const char* path, const FileHandle& base) {
    return perform(Operation::Remove, [&] { return ::unlinkat(baseId(base), path, 0); });
}

FileError removeDirectory(const char* path, const FileHandle& base) {
    return perform(Operation::Remove, [&] { return ::unlinkat(baseId(base), path, AT_REMOVEDIR); });
}

FileError setMode(const char* path, std::uint32_t mode, const FileHandle& base) {
    return perform(Operation::SetMode,
                   [&] { return ::fchmodat(baseId(base), path, mode, AT_SYMLINK_NOFOLLOW); });
}

FileError setMode(const FileHandle& file, std::uint32_t mode) {
    return perform(Operation::SetMode, [&] { return ::fchmod(file.id(), mode); });
}

FileError setOwnerToUser(const char* path, const FileHandle& base) {
    return perform(Operation::SetOwner, [&] {
        return ::fchownat(baseId(base), path, ::geteuid(), ::getegid(), AT_SYMLINK_NOFOLLOW);
    });
}

FileError setModified(const char* path, const FileTime* modified, const FileHandle& base) {
    timespec times[2] = {{0, UTIME_NOW}, {0, UTIME_NOW}};
    if (modified) times[1] = {modified->seconds, static_cast<long>(modified->nanoseconds)};
    return perform(Operation::SetTime, [&] { return ::utimensat(baseId(base), path, times, 0); });
}

} // namespace qel::platform
