// Notices a worker that hangs.
#pragma once

#include <hosts/jobs/job_packets.h>
#include <qel/foundation/base/types.h>

#include <algorithm>

namespace qelserver {

/// Measures how long a worker has been silent. It hangs when it has missed three heartbeats. A worker that
/// sends no heartbeats only has to report the beginning of a job in that time.
class SilenceWatch {
public:
    /// How long a worker may be silent.
    static constexpr qel::uint32 kLongestMs = 3 * qeljobs::kHeartbeatMs;
    /// What one look counts at most: when the server itself stood still, so perhaps did the workers.
    static constexpr qel::uint32 kLongestStepMs = 1000;

    /// A process was started.
    void restart() { *this = {}; }
    /// The worker was given a job.
    void expectAnswer() {
        m_owesAnswer = true;
        m_silentMs = 0;
    }
    /// The worker has sent something.
    void hear(bool isHeartbeat) {
        m_sendsHeartbeats = m_sendsHeartbeats || isHeartbeat;
        m_owesAnswer = m_owesAnswer && isHeartbeat;
        m_silentMs = 0;
    }
    /// Lets time pass. @return whether the worker hangs.
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
