// Functor: a script closure bound to its receiver.
#pragma once

#include <qel/script/object.h>

namespace qelSq {

/// A closure and the value of its `this`, which native code can call.
/// @threads main thread.
class QEL_API Functor {
public:
    /// Creates a functor whose receiver and closure are null.
    Functor() = default;
    /// Binds @p closure to @p receiver.
    Functor(Object receiver, Object closure);

    /// Calls the closure without arguments and drops its result.
    /// @errors a script error is logged by the script machine and sets the fail flag.
    void execute();

    /// Returns true if the receiver or the closure is null.
    bool isNull() const { return m_receiver.isNull() || m_closure.isNull(); }
    /// Returns true if a call has failed since the flag was last cleared.
    bool hasFailed() const { return m_failed; }
    /// Sets the fail flag.
    void setFail() { m_failed = true; }
    /// Clears the fail flag.
    void clearFail() { m_failed = false; }

    /// Returns true if both have the same receiver and the same closure.
    friend bool operator==(const Functor& a, const Functor& b) {
        return a.m_receiver == b.m_receiver && a.m_closure == b.m_closure;
    }

private:
    Object m_receiver;
    Object m_closure;
    bool m_failed = false;
};

} // namespace qelSq
