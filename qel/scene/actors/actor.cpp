#include <qel/scene/actors/actor.h>

#include <qel/render/renderer.h>

namespace qel {

Actor::~Actor() = default;

Actor& Actor::setActive(bool active) {
    m_active = active;
    return *this;
}

void Renderer::draw(Actor* actor) {
    if (actor != nullptr && actor->isActive() && !isAllClipped()) actor->onRender(this);
}

} // namespace qel
