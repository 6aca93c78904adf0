#include <qel/platform/memory_file.h>

#include <qel/platform/linux/file_system_p.h>

#include <sys/mman.h>

namespace qel::platform {

FileError createMemoryFile(FileHandle& file, std::string& path) {
    int id = -1;
    const FileError error = perform(Operation::Open, [&] { return id = ::memfd_create("qel", MFD_CLOEXEC); });
    if (error) return error;
    file = FileHandle(id);
    path = "/proc/self/fd/" + std::to_string(id);
    return {};
}

} // namespace qel::platform
