#include <qel/render/render_timer.h>

#include <qel/system/core/clock.h>

#include <cmath>
#include <utility>

namespace qel {

void RenderTimer::start() {
    m_previous = std::exchange(m_latest, Clock::current().steadyNanoseconds());
    m_started = true;
}

double RenderTimer::elapsed() {
    return std::floor(static_cast<double>(m_latest - m_previous) / 1000) / 1000.0;
}

} // namespace qel
