// LoadProgress: what a thread that loads a volume shares with the thread that shows it.
#pragma once

#include <atomic>

namespace qelviewer {

/// How far a long operation has come, and whether it should stop. @threads any.
struct LoadProgress {
    std::atomic<float> share{0};          ///< 0 to 1; it never decreases during an operation
    std::atomic<bool> isCancelled{false}; ///< set by the user; the operation then fails soon
};

/// Raises the share to @p share unless it is larger already. @threads any.
inline void advanceTo(LoadProgress& progress, float share) {
    float before = progress.share;
    while (before < share && !progress.share.compare_exchange_weak(before, share)) {
    }
}

} // namespace qelviewer
