#include <qel/foundation/base/write_whole.h>

#include <qel/platform/interrupt.h>
#include <qel/platform/write_all.h>

#include <array>
#include <atomic>
#include <cstdio>

namespace qel {

namespace {

using platform::FileError;
using platform::StandardStream;

/// The codes of the first errors, by stream; 0 for none.
std::array<std::atomic<int>, 3> g_firstErrors{};

void noteError(StandardStream stream, const FileError& error) {
    int none = 0;
    g_firstErrors[static_cast<size_t>(stream)].compare_exchange_strong(none, error.value());
}

} // namespace

FileError writeWhole(platform::FileHandle& file, std::string_view bytes) {
    const platform::BrokenPipeGuard guard;
    return platform::writeAll(file, bytes);
}

FileError writeToStandardStream(StandardStream stream, std::string_view text) {
    const platform::BrokenPipeGuard guard;
    std::fflush(stream == StandardStream::Output ? stdout : stderr);
    platform::FileHandle file = platform::borrowStandardStream(stream);
    const FileError error = platform::writeAll(file, text);
    file.release();
    if (error) noteError(stream, error);
    return error;
}

FileError standardStreamError(StandardStream stream) {
    return {g_firstErrors[static_cast<size_t>(stream)], std::system_category()};
}

} // namespace qel
