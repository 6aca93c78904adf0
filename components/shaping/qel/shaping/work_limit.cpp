#include <qel/shaping/work_limit_p.h>

#include <qel/shaping/seams.h>

#include <algorithm>

namespace qel {

namespace {

/// A character takes about a microsecond. The factor covers slow processors and sanitizers.
constexpr double kSecondsPerCharacter = 100e-6;

double g_allowance = 1;

} // namespace

bool internal::WorkLimit::end(std::size_t characterCount) {
    const double seconds = static_cast<double>(Clock::threadNanoseconds() - m_begin) * 1e-9;
    m_seconds += seconds - kSecondsPerCharacter * static_cast<double>(characterCount);
    m_seconds = std::max(m_seconds, 0.0); // fast texts earn no time for slow ones
    return m_seconds <= g_allowance;
}

void seams::setShapingAllowance(double seconds) {
    g_allowance = seconds;
}

} // namespace qel
