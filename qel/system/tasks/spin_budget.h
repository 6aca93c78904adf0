// SpinBudget: how long a thread spins for something that may happen soon.
#pragma once

#include <qel/foundation/base/types.h>

#include <atomic>

namespace qel::internal {

/// Learns whether spinning pays. Where the event tends to come within microseconds, spinning costs a
/// hundredth of being woken. After a few vain tries, as on a crowded machine or with long tasks, threads go
/// to sleep soon, and only now and then does one try again.
/// @threads any thread; two simultaneous notes may count as one.
class SpinBudget {
public:
    /// Returns how many rounds of platform::relaxCpu() to spend now.
    int rounds() const {
        constexpr int kMany = 2000; // some 45 microseconds
        constexpr int kFew = 8;
        const uint32 failures = m_failures.load(std::memory_order_relaxed);
        return failures < kPatience || failures % kTryAgain == 0 ? kMany : kFew;
    }
    /// Records whether the wait ended before the rounds did.
    void note(bool hasSucceeded) {
        m_failures.store(hasSucceeded ? 0 : m_failures.load(std::memory_order_relaxed) + 1,
                         std::memory_order_relaxed);
    }

private:
    static constexpr uint32 kPatience = 4;
    static constexpr uint32 kTryAgain = 16;

    std::atomic<uint32> m_failures{0}; // in a row
};

} // namespace qel::internal
