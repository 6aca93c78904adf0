#include <qel/system/core/work_limit.h>

#include <qel/system/core/clock.h>

#include <algorithm>
#include <chrono>

namespace qel {

namespace {

/// The age of a processor time after which it is asked for again.
constexpr int64 kOutdatedNanoseconds = 5'000'000;

/// Returns the time, which includes that of other threads, whatever clock is installed.
int64 nanosecondsNow() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

double secondsOf(int64 nanoseconds) {
    return static_cast<double>(nanoseconds) * 1e-9;
}

} // namespace

void WorkLimit::begin() {
    m_begin = nanosecondsNow();
    if (m_asked != 0 && m_begin - m_asked < kOutdatedNanoseconds) return;
    m_asked = m_begin;
    m_processorTime = Clock::threadNanoseconds();
}

double WorkLimit::end(double explainedSeconds) {
    double seconds = secondsOf(nanosecondsNow() - m_begin);
    if (seconds > explainedSeconds)
        seconds = std::min(seconds, secondsOf(Clock::threadNanoseconds() - m_processorTime));
    m_excess = std::max(m_excess + seconds - explainedSeconds, 0.0);
    return m_excess;
}

} // namespace qel
