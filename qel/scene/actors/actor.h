// Actor: an object that can draw itself.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/platform/api.h>

namespace qel {

class Renderer;

/// An object that draws itself. There is no scene graph: a host draws its actors in its own order with
/// Renderer::draw().
/// @threads main thread.
class QEL_API Actor : public Object {
    QEL_CLASS(Actor, Object)

public:
    Actor() = default;
    ~Actor() override;

    /// Draws the actor. Called by Renderer::draw(), which passes over inactive actors.
    virtual void onRender(Renderer* renderer) = 0;

    /// Shows the actor. @return this actor.
    Actor& activate() { return setActive(true); }
    /// Hides the actor. @return this actor.
    Actor& deactivate() { return setActive(false); }
    /// Shows or hides the actor. @return this actor.
    Actor& setActive(bool active);
    /// Returns true, which it is initially, if the actor is shown.
    bool isActive() const { return m_active; }

private:
    bool m_active = true;
};

} // namespace qel
