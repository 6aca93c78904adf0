// Delegate: one listener with a result.
#pragma once

#include <qel/foundation/base/listener_list.h>
#include <qel/foundation/base/log_line.h>

#include <type_traits>
#include <utility>

namespace qel {

template <typename Signature>
class Delegate;

/// Calls one listener, the last one connected. A connection to an object is weak: it ends when the object
/// dies. Unconnected, a delegate without a result does nothing; one with a result must not be called, and if
/// it is, it logs an error once and returns a zero or empty value.
/// @threads one thread, in practice the main thread; no locks.
template <typename R, typename... Args>
class Delegate<R(Args...)> : public internal::TypedListenerList<R, Args...> {
public:
    /// Replaces the listener with a callable. @return a handle for disconnect.
    template <typename F>
    SignalConnection* connect(F&& callable) {
        return replace(this->makeConnection(std::forward<F>(callable)));
    }

    /// Replaces the listener with a member function of @p object, or a callable that ends with @p object. A
    /// null object creates a connection without a weak registration; its member function is never called.
    /// @return a handle for disconnect.
    template <typename T, typename F>
    SignalConnection* connect(T* object, F&& callable) {
        return replace(this->makeWeakConnection(object, std::forward<F>(callable)));
    }

    /// Returns whether there is a listener.
    explicit operator bool() const { return this->isConnected(); }

    /// Calls the listener.
    R operator()(Args... args) {
        if (!this->isConnected()) return callNobody();
        return this->callListener(this->first(), std::forward<Args>(args)...);
    }

private:
    SignalConnection* replace(SignalConnection* connection) {
        SignalConnection* old = this->first();
        this->append(connection);
        if (old) this->disconnect(old);
        return connection;
    }

    R callNobody() {
        if constexpr (!std::is_void_v<R>) {
            if (!std::exchange(m_reported, true)) internal::logLine(3, "delegate called without a listener");
        }
        return internal::neutralValue<R>();
    }

    bool m_reported = false; // a delegate called in every pass must not flood the log
};

} // namespace qel
