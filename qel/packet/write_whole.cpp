#include <qel/packet/write_whole_p.h>

#include <qel/platform/interrupt.h>

namespace qel::internal {

platform::FileError writeWhole(platform::FileHandle& file, std::string_view bytes) {
    const platform::BrokenPipeGuard guard;
    while (!bytes.empty()) {
        size_t done = 0;
        platform::FileError error = file.write(bytes.data(), bytes.size(), done);
        if (error == std::errc::resource_unavailable_try_again)
            error = platform::waitUntilReady(file, platform::Readiness::Writing);
        if (error) return error;
        bytes.remove_prefix(done);
    }
    return {};
}

} // namespace qel::internal
