#include <qel/system/core/application.h>

#include <qel/system/core/system.h>

namespace qel {

Application::Application() = default;
Application::~Application() = default;

void Application::setLastEventTime() {
    m_lastEventTime = system()->getTimeFast();
}

} // namespace qel
