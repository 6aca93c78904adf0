#include <qel/platform/write_all.h>

namespace qel::platform {

FileError writeAll(FileHandle& file, std::string_view bytes) {
    while (!bytes.empty()) {
        std::size_t done = 0;
        FileError error = file.write(bytes.data(), bytes.size(), done);
        if (error == std::errc::resource_unavailable_try_again) {
            error = waitUntilReady(file, Readiness::Writing);
        } else if (!error && done == 0) {
            error = std::make_error_code(std::errc::io_error);
        }
        if (error) return error;
        bytes.remove_prefix(done);
    }
    return {};
}

} // namespace qel::platform
