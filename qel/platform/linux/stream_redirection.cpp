#include <qel/platform/stream_redirection.h>

#include <qel/platform/linux/file_system_p.h>

#include <unistd.h>

namespace qel::platform {

FileError redirectStandardStream(StandardStream stream, const FileHandle& target, FileHandle& original) {
    const int number = static_cast<int>(stream);
    int kept = -1;
    FileError error = perform(Operation::Open, [number, &kept] {
        return kept = ::fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    });
    if (error) return error;
    FileHandle keptFile(kept);
    error = perform(Operation::Open, [number, &target] { return ::dup2(target.id(), number); });
    if (!error) original = std::move(keptFile);
    return error;
}

} // namespace qel::platform
