// RenderTimer: a stopwatch for the time between two frames.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel {

/// Measures the time between the last two calls of start() on Clock::current(). The timer of a renderer with
/// queries of its own is a subclass; Renderer::createRenderTimer() creates the right one.
class QEL_API RenderTimer : public Object {
    QEL_CLASS(RenderTimer, Object)

public:
    /// Takes a time stamp; the stamp before it remains as the previous one.
    virtual void start();
    /// Ends a measurement; does nothing here.
    virtual void stop() {}
    /// Returns the milliseconds between the last two starts, in whole microseconds. Before the second start
    /// they count from the clock's origin.
    virtual double elapsed();
    /// Returns true after the first start().
    bool hasStarted() const { return m_started; }

private:
    int64 m_previous = 0;
    int64 m_latest = 0;
    bool m_started = false;
};

} // namespace qel
