// StepWatch: detects a job that makes no progress.
#pragma once

#include <qel/foundation/base/types.h>

#include <atomic>

namespace qelworker {

/// Remembers when a job made its last step. The main thread of a worker continues if a job hangs, so that its
/// heartbeats alone would not show that. @threads any thread.
class StepWatch {
public:
    /// The time that a single step may take. The longest are compressing and writing a large file.
    static constexpr qel::int32 kLongestStepMs = 600'000;

    /// Notes that a job begins or makes a step. @param now  value of System::getTime(), as below.
    void step(qel::uint32 now) {
        m_lastStep = now;
        m_isWorking = true;
    }
    /// Notes that no job runs any more.
    void end() { m_isWorking = false; }
    /// Returns true if the job hangs.
    bool isHanging(qel::uint32 now) const {
        const auto passedMs =
            static_cast<qel::int32>(now - m_lastStep); // below 0 if a step was made meanwhile
        return m_isWorking && passedMs > kLongestStepMs;
    }

private:
    std::atomic<bool> m_isWorking{false};
    std::atomic<qel::uint32> m_lastStep{0};
};

} // namespace qelworker
