// ListenerList: the common base of Signal and Delegate.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/signal_connection.h>
#include <qel/foundation/base/types.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/platform/api.h>

#include <type_traits>
#include <utility>

namespace qel::internal {

/// An ordered list of connections that may change in any way while its listeners are being called.
///
/// The connections form a ring whose head advances with each call of an emission, so that it has turned once
/// when all have been called, and nothing is held across a call. A connection that is removed during its own
/// call stays alive outside the list until the call returns.
/// @threads one thread, in practice the main thread; no locks.
class QEL_API ListenerList : public Object, public PointerOwner {
    QEL_CLASS_NAMED("_Signal", Object)

public:
    ListenerList() = default;
    ListenerList(const ListenerList&) = delete;
    ListenerList& operator=(const ListenerList&) = delete;
    /// Ends all connections, the first one first; an emission in progress calls no further listener.
    ~ListenerList() override;

    /// Ends @p connection. @return false, with no effect, if it isn't a connection of this list.
    bool disconnect(SignalConnection* connection);
    /// Ends all connections, the first one first.
    void disconnectAll();
    /// Returns whether there is a listener.
    bool isConnected() const { return m_head != nullptr; }

protected:
    /// A call of a listener in progress; keeps the connection alive until it returns, even if it is removed.
    class Call {
    public:
        explicit Call(SignalConnection* connection) : m_connection(connection) {
            m_connection->m_calls += SignalConnection::kCall;
        }
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;
        ~Call() { endCall(m_connection); }

    private:
        SignalConnection* const m_connection;
    };

    /// An emission to several listeners in progress; lives on the stack and notices when its list dies. Its
    /// call is only counted if the connection is removed in the meantime.
    class Emission {
    public:
        explicit Emission(ListenerList& list);
        Emission(const Emission&) = delete;
        Emission& operator=(const Emission&) = delete;
        ~Emission() {
            if (m_isDisturbed) releaseConnection();
            if (m_list) m_list->endEmission(m_outer);
        }

        /// Returns the first listener to call, or null if every listener was called.
        SignalConnection* first() const { return unvisited(m_list->m_head); }
        /// Marks @p connection as being called. @return the one that follows it now, for next().
        SignalConnection* begin(SignalConnection* connection) {
            connection->m_visitedIn = m_number;
            m_connection = connection;
            return m_list->m_head = connection->m_next;
        }
        /// Returns the next listener to call, or null if all have been called.
        SignalConnection* next(SignalConnection* following) {
            return m_isDisturbed ? settle() : unvisited(following);
        }

    private:
        friend class ListenerList;

        SignalConnection* unvisited(SignalConnection* connection) const {
            return connection->m_visitedIn == m_number ? nullptr : connection;
        }
        SignalConnection* settle();
        void releaseConnection();

        ListenerList* m_list; // null once it has died
        Emission* m_outer;
        uint64 m_number;
        SignalConnection* m_connection = nullptr; // being called
        bool m_isDisturbed = false; // a listener was removed, or an emission inside this one has ended
    };

    /// Returns whether there is exactly one listener.
    bool isSingle() const { return m_head && m_head->m_next == m_head; }
    /// Returns the first listener, or null if the list is empty.
    SignalConnection* first() const { return m_head; }
    /// Appends @p connection and takes ownership of it.
    SignalConnection* append(SignalConnection* connection);

private:
    void onWeakPointerCleared(void* ownerData) override;
    void remove(SignalConnection* connection);
    void endEmission(Emission* outer);
    void disturbEmissions();
    static void endCall(SignalConnection* connection) {
        connection->m_calls -= SignalConnection::kCall;
        if (connection->m_calls == SignalConnection::kRemoved) delete connection;
    }

    SignalConnection* m_head = nullptr;
    Emission* m_emission = nullptr; // the innermost one
    uint64 m_emissionNumber = 1;    // connections that carry it have been called
};

/// The connect operations for listeners that return @p R.
template <typename R, typename... Args>
class TypedListenerList : public ListenerList {
protected:
    using BaseConn = Connection<R, Args...>;

    template <typename... A>
    static R callListener(SignalConnection* connection, A&&... args) {
        const ListenerList::Call call(connection);
        return invoke(connection, std::forward<A>(args)...);
    }

    /// As callListener, for a call that belongs to an Emission.
    template <typename... A>
    static R invoke(SignalConnection* connection, A&&... args) {
        return static_cast<BaseConn*>(connection)->call(std::forward<A>(args)...);
    }

    template <typename F>
    BaseConn* makeConnection(F&& callable) {
        using Callable = std::decay_t<F>;
        return new LambdaConn<Callable, R, Args...>(std::forward<F>(callable));
    }

    template <typename T, typename F>
    BaseConn* makeWeakConnection(T* object, F&& callable) {
        using Callable = std::decay_t<F>;
        if constexpr (std::is_member_function_pointer_v<Callable>) {
            return makeWeakConnection(object, MemberCall<R, T, Callable>(object, callable));
        } else {
            return new LambdaWeakConn<Callable, R, Args...>(object, this, std::forward<F>(callable));
        }
    }
};

} // namespace qel::internal
