#include <qel/system/core/work_limit.h>

#include <qel/system/core/clock.h>

#include <algorithm>

namespace qel {

void WorkLimit::begin() {
    m_begin = Clock::threadNanoseconds();
}

double WorkLimit::end(double explainedSeconds) {
    const double seconds = static_cast<double>(Clock::threadNanoseconds() - m_begin) * 1e-9;
    m_excess = std::max(m_excess + seconds - explainedSeconds, 0.0);
    return m_excess;
}

} // namespace qel
