#include <qel/imaging/pixels/renderer_query.h>
#include <qel/render/renderer_software.h>
#include <qel/system/core/application.h>
#include <qel/system/core/system.h>

namespace qel {

namespace {

bool isSoftwareRendererUsed() {
    if (internal::g_system == nullptr) return false;
    Renderer* const renderer = internal::g_system->getApplication()->getRenderer();
    return dynamic_cast<RendererSoftware*>(renderer) != nullptr;
}

} // namespace

void Application::setRenderer(Renderer* renderer) {
    m_renderer = renderer;
    internal::setSoftwareRendererQuery(&isSoftwareRendererUsed);
}

Renderer* Application::getRenderer() const {
    return static_cast<Renderer*>(m_renderer.get());
}

} // namespace qel
