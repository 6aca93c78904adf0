// Pacer: runs the passes of System and sleeps between them while nothing happens.
#pragma once

#include <qel/system/core/system.h>

#include <algorithm>

namespace qelhosts {

/// Runs passes without a pause while there is work. Otherwise it sleeps between them, a millisecond longer
/// each time, so that an idle host needs little processor time and still answers quickly.
class Pacer {
public:
    /// Creates a pacer. @param longestSleepMs  the longest sleep; 50 ms are reached after about 1.3 s. A host
    /// whose sleep ends when there is something to do may sleep for longer.
    explicit Pacer(unsigned longestSleepMs = 50) : m_longestSleepMs(longestSleepMs) {}

    /// Runs one pass of @p system and the work of the host, and sleeps if neither had anything to do.
    /// @param doWork  does the work of the host in this pass and returns true if there was any.
    /// @param sleep   sleeps for the given number of milliseconds, or less if there is something to do.
    template <class DoWork, class Sleep>
    void pass(qel::System& system, DoWork doWork, Sleep sleep) {
        system.processEvents(0);
        const bool hasWorked = doWork();
        const bool isBusy = hasWorked || system.getTime() - system.getPresentationTime() >= kBusyPassMs;
        m_sleepMs = isBusy ? 0 : std::min(m_sleepMs + 1, m_longestSleepMs);
        if (m_sleepMs != 0) sleep(m_sleepMs);
    }

private:
    static constexpr qel::uint32 kBusyPassMs = 2; // a pass that takes this long had work to do

    unsigned m_longestSleepMs;
    unsigned m_sleepMs = 0;
};

} // namespace qelhosts
