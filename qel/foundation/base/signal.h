// Signal: a list of listeners.
#pragma once

#include <qel/foundation/base/listener_list.h>

#include <utility>

namespace qel {

template <typename Signature>
class Signal;

/// Calls any number of listeners, in the order of their connection.
///
/// A connection to an object is weak: it ends when the object dies, so that no listener has to unregister.
/// Listeners may connect, disconnect, die, emit again or destroy the signal while it is being emitted:
/// - a listener that was removed isn't called, and one that was connected in the meantime isn't called twice;
/// it
///   is placed after the listener that is being called;
/// - an emission from a listener calls the listeners that haven't been called yet; then all count as not
/// called,
///   and the outer emission starts over;
/// - with exactly one listener the signal isn't touched after the call.
/// @threads one thread, in practice the main thread; no locks.
template <typename... Args>
class Signal<void(Args...)> : public internal::TypedListenerList<void, Args...> {
    using Base = internal::TypedListenerList<void, Args...>;

public:
    /// Appends a callable. @return a handle for disconnect.
    template <typename F>
    SignalConnection* connect(F&& callable) {
        return this->append(this->makeConnection(std::forward<F>(callable)));
    }

    /// Appends a member function of @p object, or a callable that ends with @p object. A null object creates
    /// a connection without a weak registration; its member function is never called.
    /// @return a handle for disconnect.
    template <typename T, typename F>
    SignalConnection* connect(T* object, F&& callable) {
        return this->append(this->makeWeakConnection(object, std::forward<F>(callable)));
    }

    /// Calls the listeners. Nothing is allocated.
    void operator()(Args... args) {
        if (this->isSingle()) return this->callListener(this->first(), std::forward<Args>(args)...);
        if (!this->isConnected()) return;
        typename Base::Emission emission(*this);
        SignalConnection* connection = emission.first();
        while (connection) {
            SignalConnection* following = emission.begin(connection);
            this->invoke(connection, args...);
            connection = emission.next(following);
        }
    }
};

} // namespace qel
