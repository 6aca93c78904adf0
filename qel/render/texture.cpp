#include <qel/render/texture.h>

#include <qel/render/renderer.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/alarm.h>

namespace qel {

namespace {

uint32 currentTime() {
    return internal::g_system != nullptr ? internal::g_system->getTimeFast() : 0;
}

} // namespace

Texture::Texture(Renderer* renderer) : m_alarm(new Alarm), m_time(currentTime()), m_renderer(renderer) {}

Texture::~Texture() = default;

Renderer* Texture::getRenderer() const {
    return m_renderer.get();
}

void Texture::setContent(FormatID format, const IVec2<int>& size) {
    m_format = format;
    m_size = size;
    m_time = currentTime();
    m_valid = true;
}

} // namespace qel
