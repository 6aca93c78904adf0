#include <qel/foundation/base/write_whole.h>

#include <qel/platform/interrupt.h>

#include <array>
#include <atomic>
#include <cstdio>

namespace qel {

namespace {

using platform::FileError;
using platform::StandardStream;

/// Codes of the first errors, by stream; 0 for none.
std::array<std::atomic<int>, 3> g_firstErrors{};

void noteError(StandardStream stream, const FileError& error) {
    int none = 0;
    g_firstErrors[static_cast<size_t>(stream)].compare_exchange_strong(none, error.value());
}

/// As writeWhole(), for callers that hold a BrokenPipeGuard.
FileError writeGuarded(platform::FileHandle& file, std::string_view bytes) {
    while (!bytes.empty()) {
        size_t done = 0;
        FileError error = file.write(bytes.data(), bytes.size(), done);
        if (error == std::errc::resource_unavailable_try_again)
            error = platform::waitUntilReady(file, platform::Readiness::Writing);
        if (error) return error;
        bytes.remove_prefix(done);
    }
    return {};
}

} // namespace

FileError writeWhole(platform::FileHandle& file, std::string_view bytes) {
    const platform::BrokenPipeGuard guard;
    return writeGuarded(file, bytes);
}

FileError writeToStandardStream(StandardStream stream, std::string_view text) {
    const platform::BrokenPipeGuard guard;
    std::fflush(stream == StandardStream::Output ? stdout : stderr);
    platform::FileHandle file = platform::borrowStandardStream(stream);
    const FileError error = writeGuarded(file, text);
    file.release();
    if (error) noteError(stream, error);
    return error;
}

FileError standardStreamError(StandardStream stream) {
    return {g_firstErrors[static_cast<size_t>(stream)], std::system_category()};
}

} // namespace qel
