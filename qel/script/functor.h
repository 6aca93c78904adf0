// Functor: a script closure bound to its receiver.
#pragma once

#include <qel/script/object.h>

namespace qelSq {

/// A closure with the value that is its `this`, ready to be called by native code.
/// @threads main thread.
class QEL_API Functor {
public:
    /// Holds nulls.
    Functor() = default;
    /// Binds @p closure to @p receiver.
    Functor(Object receiver, Object closure);

    /// Calls the closure without arguments and drops its result.
    /// @errors a script error sets the fail flag, after the script machine has logged it.
    void execute();

    /// Whether receiver or closure is null.
    bool isNull() const { return m_receiver.isNull() || m_closure.isNull(); }
    /// Whether a call has failed since the flag was last cleared.
    bool hasFailed() const { return m_failed; }
    /// Sets the fail flag.
    void setFail() { m_failed = true; }
    /// Clears the fail flag.
    void clearFail() { m_failed = false; }

    /// Same receiver and same closure.
    friend bool operator==(const Functor& a, const Functor& b) {
        return a.m_receiver == b.m_receiver && a.m_closure == b.m_closure;
    }

private:
    Object m_receiver;
    Object m_closure;
    bool m_failed = false;
};

} // namespace qelSq
