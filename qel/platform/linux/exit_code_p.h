// The way a child ended, as one number.
#pragma once

#include <sys/wait.h>

namespace qel::platform {

/// Returns the exit status in @p status, which waitpid() returned, or 128 + the number of the signal that
/// ended the child.
inline int exitCodeOf(int status) {
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace qel::platform
