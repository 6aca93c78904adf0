#include <qel/scene/actors/actor.h>

#include <qel/foundation/base/smart_pointer.h>
#include <qel/render/renderer.h>

namespace qel {

Actor::~Actor() = default;

Actor& Actor::setActive(bool active) {
    m_active = active;
    return *this;
}

// A hook of the host that runs meanwhile may release the last reference, if anybody holds one.
void Renderer::draw(Actor* actor) {
    if (actor == nullptr || !actor->isActive() || isAllClipped()) return;
    const SmartPointer<Actor> held(actor->getReferenceCount() > 0 ? actor : nullptr);
    actor->onRender(this);
}

} // namespace qel
