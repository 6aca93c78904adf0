// Shared by the functions that call the system: repeated calls, forced faults, the last error.
#pragma once

#include <qel/platform/file_system.h>
#include <qel/platform/seams_p.h>

#include <cerrno>
#include <fcntl.h>

namespace qel::platform {

/// Returns the error of the system call that just failed.
inline FileError lastFileError() {
    return {errno, std::system_category()};
}

/// Repeats @p call, which returns -1 on failure, until it isn't interrupted.
template <typename Call>
FileError uninterrupted(Call call) {
    while (call() == -1) {
        if (errno != EINTR) return lastFileError();
    }
    return {};
}

/// Like uninterrupted(), for an operation that tests can make fail. @p call reads @p size again each time.
template <typename Call>
FileError perform(Operation operation, std::size_t& size, Call call) {
    for (;;) {
        if (const FileError forced = forcedFault(operation, size)) return forced;
        if (call() != -1) return {};
        if (errno != EINTR) return lastFileError();
    }
}

/// Like the function above, for an operation without a size.
template <typename Call>
FileError perform(Operation operation, Call call) {
    std::size_t none = 0;
    return perform(operation, none, call);
}

/// Returns the descriptor that system calls expect for @p base.
inline int baseId(const FileHandle& base) {
    return base.isOpen() ? base.id() : AT_FDCWD;
}

} // namespace qel::platform
