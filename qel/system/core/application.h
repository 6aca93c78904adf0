// Application: the object through which the library reaches what belongs to the host program.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/types.h>
#include <qel/foundation/base/weak_pointer.h>

namespace qel {

class Renderer;

/// The host's own application object, created by the factory passed to `System::initialize`.
///
/// Hosts derive from it and keep their actors, stores and plugins in it. It belongs to the main thread.
class QEL_API Application : public Object {
    QEL_CLASS(Application, Object)

public:
    Application();
    ~Application() override;

    /// Stores `System::getTimeFast()` as the time of the last user input.
    void setLastEventTime();
    /// Returns the time of the last setLastEventTime(), in milliseconds of `System::getTime()`; 0 before the
    /// first.
    uint32 getLastEventTime() const { return m_lastEventTime; }

    /// Sets the renderer of the main window, or none if null. Defined in
    /// render/application_renderer.cpp, like getRenderer().
    /// @owner keeps a weak pointer only.
    void setRenderer(Renderer* renderer);
    /// Returns the renderer of the main window; null if none is set or it has been destroyed.
    Renderer* getRenderer() const;

private:
    uint32 m_lastEventTime = 0;
    WeakPointer<Object> m_renderer;
};

} // namespace qel
