// Sleeps between the passes of System as long as nothing happens.
#pragma once

#include <qel/system/core/system.h>

#include <algorithm>

namespace qelhosts {

/// Drives passes: one follows the other while there is work, and otherwise it sleeps between them, a little
/// longer each time, up to 10 ms. An idle host costs next to nothing and still answers at once for what a
/// person can tell.
class Pacer {
public:
    /// One pass, and a sleep if nothing moved in it.
    /// @param isBusy  asked behind the pass whether it did work that may go on in the next.
    /// @param sleep   sleeps for so many milliseconds, or less when something comes up.
    template <class IsBusy, class Sleep>
    void pass(qel::System& system, IsBusy isBusy, Sleep sleep) {
        system.processEvents(0);
        const bool hasMoved = isBusy() || system.getTime() - system.getPresentationTime() >= kBusyPassMs;
        m_sleepMs = hasMoved ? 0 : std::min(m_sleepMs + 1, kLongestSleepMs);
        if (m_sleepMs != 0) sleep(m_sleepMs);
    }

private:
    static constexpr unsigned kLongestSleepMs = 10;
    static constexpr qel::uint32 kBusyPassMs = 2; // something had work to do that isBusy does not know of

    unsigned m_sleepMs = 0;
};

} // namespace qelhosts
