#include <qel/platform/named_mutex.h>

#include <qel/platform/linux/file_system_p.h>

#include <algorithm>
#include <string>

#include <sys/stat.h>

namespace qel::platform {

namespace {

FileError openMutex(FileHandle& mutex, std::string_view name, int flags) {
    if (name.empty()) return {EINVAL, std::system_category()};
    std::string path = "/dev/shm/qel-mutex-";
    std::replace_copy(name.begin(), name.end(), std::back_inserter(path), '/', '%');
    int id = -1;
    const FileError error = perform(Operation::Open, [&] {
        return id = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | flags, 0666);
    });
    if (!error) mutex = FileHandle(id);
    return error;
}

} // namespace

// In a folder like this one, the kernel (fs.protected_regular) may refuse a plain O_CREAT of a file that
// another user has created.
FileError createNamedMutex(FileHandle& mutex, std::string_view name) {
    const FileError error = openMutex(mutex, name, O_CREAT | O_EXCL);
    if (error == std::errc::file_exists) return openNamedMutex(mutex, name);
    if (!error) ::fchmod(mutex.id(), 0666); // the process mask has reduced it
    return error;
}

FileError openNamedMutex(FileHandle& mutex, std::string_view name) {
    return openMutex(mutex, name, 0);
}

} // namespace qel::platform
