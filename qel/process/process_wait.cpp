#include <qel/process/process_wait_p.h>

#include <qel/system/core/clock.h>

#include <algorithm>

namespace qel::internal {

namespace {

/// Returns the time that is left.
class TimeLimit {
public:
    explicit TimeLimit(int timeoutMs) : m_timeoutMs(timeoutMs) {}
    int leftMs() const {
        if (m_timeoutMs < 0) return -1;
        const int64 passedMs = (Clock::current().steadyNanoseconds() - m_start) / 1'000'000;
        return static_cast<int>(std::clamp<int64>(m_timeoutMs - passedMs, 0, m_timeoutMs));
    }

private:
    int m_timeoutMs;
    int64 m_start = Clock::current().steadyNanoseconds();
};

} // namespace

platform::FileError waitForAll(std::vector<platform::ProcessHandle>& processes, int timeoutMs) {
    const TimeLimit limit(timeoutMs);
    std::vector<bool> ended;
    while (!processes.empty()) {
        const platform::FileError error =
            platform::ProcessHandle::waitForAny(processes, limit.leftMs(), ended);
        if (error == std::errc::interrupted) continue;
        if (error) return error;
        size_t index = 0;
        const size_t count = std::erase_if(processes, [&](const auto&) { return ended[index++]; });
        if (count == 0) break; // timed out, also with a clock that does not advance
    }
    return {};
}

} // namespace qel::internal
