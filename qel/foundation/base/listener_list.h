// ListenerList: what Signal and Delegate have in common.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/signal_connection.h>
#include <qel/foundation/base/types.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/platform/api.h>

#include <type_traits>
#include <utility>

namespace qel::internal {

/// An ordered list of connections that may change in every way while its listeners are being called.
///
/// The connections form a ring; its head moves on with each call of an emission, so that the ring has turned
/// once when everybody was called, and nothing is held across a call. A connection that is removed while it
/// runs lives on, out of the list, until its call has returned.
/// @threads one thread, in practice the main thread; no locks.
class QEL_API ListenerList : public Object, public PointerOwner {
    QEL_CLASS_NAMED("_Signal", Object)

public:
    ListenerList() = default;
    ListenerList(const ListenerList&) = delete;
    ListenerList& operator=(const ListenerList&) = delete;
    /// Ends all connections, the first one first; an emission in progress calls nobody any more.
    ~ListenerList() override;

    /// Ends @p connection. @return false, without an effect, when it isn't a connection of this list.
    bool disconnect(SignalConnection* connection);
    /// Ends all connections, the first one first.
    void disconnectAll();
    /// Whether there is a listener.
    bool isConnected() const { return m_head != nullptr; }

protected:
    /// An emission in progress; lives on the stack and notices when its list dies.
    class Emission {
    public:
        explicit Emission(ListenerList& list) : m_list(&list), m_outer(list.m_emission) {
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdangling-pointer" // the destructor takes the address out again
#endif
            list.m_emission = this;
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif
        }
        Emission(const Emission&) = delete;
        Emission& operator=(const Emission&) = delete;
        ~Emission() {
            dropCurrent();
            if (!m_list) return;
            m_list->m_emission = m_outer;
            if (m_marks) ++m_list->m_emissionNumber; // nobody has had his turn any more
        }

        /// The listener of a list that has exactly one; it isn't marked, so that it may emit anew.
        SignalConnection* only() {
            return m_current = m_list->m_head;
        }
        /// The next listener that hasn't had its turn, null when all have.
        SignalConnection* next() {
            dropCurrent();
            if (!m_list || !m_list->m_head) return nullptr;
            SignalConnection* head = m_list->m_head;
            if (head->m_visitedIn == m_list->m_emissionNumber) return nullptr;
            head->m_visitedIn = m_list->m_emissionNumber;
            m_list->m_head = head->m_next;
            m_marks = true;
            return m_current = head;
        }

    private:
        friend class ListenerList;

        void dropCurrent() {
            if (m_ownsCurrent) delete m_current;
            m_ownsCurrent = false;
        }

        ListenerList* m_list; // null once it has died
        Emission* m_outer;
        SignalConnection* m_current = nullptr;
        bool m_ownsCurrent = false; // was removed while it ran
        bool m_marks = false;
    };

    /// Whether there is exactly one listener.
    bool isSingle() const {
        return m_head && m_head->m_next == m_head;
    }
    /// The first listener, null if there is none.
    SignalConnection* first() const {
        return m_head;
    }
    /// Appends @p connection and owns it from now on.
    SignalConnection* append(SignalConnection* connection);

private:
    void onWeakPointerCleared(void* ownerData) override;
    void remove(SignalConnection* connection);

    SignalConnection* m_head = nullptr;
    Emission* m_emission = nullptr; // the innermost one
    uint64 m_emissionNumber = 1;    // connections that bear it have had their turn
};

/// The connect operations for listeners that return @p R.
template <typename R, typename... Args>
class TypedListenerList : public ListenerList {
protected:
    using BaseConn = Connection<R, Args...>;

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
