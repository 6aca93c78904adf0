// SilenceWatch: detects a worker that hangs.
#pragma once

#include <hosts/jobs/job_packets.h>
#include <qel/foundation/base/types.h>

#include <algorithm>

namespace qelserver {

/// Measures how long a worker has been silent. A worker that has missed three heartbeats hangs. A worker that
/// sends no heartbeats hangs if it does not report the beginning of a job within the same time.
class SilenceWatch {
public:
    /// A worker that is silent for this long hangs.
    static constexpr qel::uint32 kLongestMs = 3 * qeljobs::kHeartbeatMs;
    /// The most that one call of pass() adds: if the server was suspended, the workers may have been as well.
    static constexpr qel::uint32 kLongestStepMs = 1000;

    /// Notes that a process was started.
    void restart() { *this = {}; }
    /// Notes that the worker was given a job.
    void expectAnswer() {
        m_owesAnswer = true;
        m_silentMs = 0;
    }
    /// Notes that the worker sent something.
    void hear(bool isHeartbeat) {
        m_sendsHeartbeats = m_sendsHeartbeats || isHeartbeat;
        m_owesAnswer = m_owesAnswer && isHeartbeat;
        m_silentMs = 0;
    }
    /// Adds @p ms milliseconds to the silence. @return true if the worker hangs.
    bool pass(qel::uint32 ms) {
        m_silentMs += std::min(ms, kLongestStepMs);
        return (m_sendsHeartbeats || m_owesAnswer) && m_silentMs >= kLongestMs;
    }

private:
    bool m_sendsHeartbeats = false;
    bool m_owesAnswer = false;
    qel::uint32 m_silentMs = 0;
};

} // namespace qelserver
