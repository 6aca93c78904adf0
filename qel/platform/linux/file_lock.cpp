#include <qel/platform/file_lock.h>

#include <qel/platform/linux/file_system_p.h>

#include <sys/file.h>

namespace qel::platform {

namespace {

FileError operate(const FileHandle& file, int operation) {
    return perform(Operation::Lock, [&] { return ::flock(file.id(), operation); });
}

} // namespace

FileError openLockFile(FileHandle& file, const char* path) {
    int id = -1;
    const FileError error = perform(
        Operation::Open, [&] { return id = ::open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOCTTY, 0666); });
    if (!error) file = FileHandle(id);
    return error;
}

FileError lockFile(const FileHandle& file) {
    return operate(file, LOCK_EX);
}

FileError tryLockFile(const FileHandle& file) {
    return operate(file, LOCK_EX | LOCK_NB);
}

FileError unlockFile(const FileHandle& file) {
    return operate(file, LOCK_UN);
}

} // namespace qel::platform
