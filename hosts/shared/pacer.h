// Sleeps between the passes of System as long as nothing happens.
#pragma once

#include <qel/system/core/system.h>

#include <algorithm>

namespace qelhosts {

/// Runs passes: one follows the other while there is work, and otherwise it sleeps between them, a
/// millisecond longer each time, up to 50 ms after some 1.3 s. An idle host costs little and still answers
/// faster than a person notices.
class Pacer {
public:
    /// Runs one pass of @p system and the work of the host, and sleeps if neither had anything to do.
    /// @param doWork  does the work of the host in this pass. @return whether there was any, so that more may
    /// follow.
    /// @param sleep   sleeps for so many milliseconds, or less when something comes up.
    template <class DoWork, class Sleep>
    void pass(qel::System& system, DoWork doWork, Sleep sleep) {
        system.processEvents(0);
        const bool hasWorked = doWork();
        const bool isBusy = hasWorked || system.getTime() - system.getPresentationTime() >= kBusyPassMs;
        m_sleepMs = isBusy ? 0 : std::min(m_sleepMs + 1, kLongestSleepMs);
        if (m_sleepMs != 0) sleep(m_sleepMs);
    }

private:
    static constexpr unsigned kLongestSleepMs = 50;
    static constexpr qel::uint32 kBusyPassMs = 2; // the pass itself had work to do

    unsigned m_sleepMs = 0;
};

} // namespace qelhosts
