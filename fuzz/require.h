// The check of all targets.
#pragma once

#include <cstdlib>

/// Ends the process, which libFuzzer reports with the input, if an invariant does not hold.
inline void require(bool holds) {
    if (!holds) std::abort();
}
