// SignalConnection: one listener of a Signal or Delegate.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/platform/api.h>

#include <type_traits>
#include <utility>

namespace qel {

namespace internal {
class ListenerList;
}

/// Base of all connections, and the handle that connect returns. It is owned by its Signal or Delegate, and
/// ends with that, with its target object, or through disconnect.
class QEL_API SignalConnection {
public:
    SignalConnection() = default;
    SignalConnection(const SignalConnection&) = delete;
    SignalConnection& operator=(const SignalConnection&) = delete;
    virtual ~SignalConnection();

private:
    friend class internal::ListenerList;

    static constexpr uint32 kRemoved = 1;
    static constexpr uint32 kCall = 2;

    /// Stops watching the target.
    virtual void detach() {}

    SignalConnection* m_next = nullptr;
    SignalConnection* m_previous = nullptr;
    uint64 m_visitedIn = 0; // number of the last emission that called it
    uint32 m_calls = 0;     // kCall for each counted call that hasn't returned, and kRemoved
};

namespace internal {

/// The result of a call without a listener: nothing, zero, or a reference to an empty value.
template <typename R>
R neutralValue() {
    if constexpr (std::is_reference_v<R>) {
        static std::remove_cvref_t<R> empty{};
        return static_cast<R>(empty);
    } else if constexpr (!std::is_void_v<R>) {
        return R{};
    }
}

/// A connection that can be called.
template <typename R, typename... Args>
class Connection : public SignalConnection {
public:
    /// Calls the listener.
    virtual R call(Args... args) = 0;
};

/// A callable without a target object.
template <typename F, typename R, typename... Args>
class LambdaConn final : public Connection<R, Args...> {
public:
    explicit LambdaConn(F callable) : m_callable(std::move(callable)) {}

    R call(Args... args) override { return static_cast<R>(m_callable(std::forward<Args>(args)...)); }

private:
    F m_callable;
};

/// A weak pointer whose registration its connection can end early.
class ConnectionTarget final : public WeakPointerBase {
public:
    ConnectionTarget(Object* target, PointerOwner* owner, SignalConnection* connection)
        : WeakPointerBase(target) {
        setOwner(owner, connection);
        registerObject();
    }
    using WeakPointerBase::unregisterObject;
};

/// A callable that is disconnected when its target object dies.
template <typename F, typename R, typename... Args>
class LambdaWeakConn final : public Connection<R, Args...> {
public:
    LambdaWeakConn(Object* target, PointerOwner* owner, F callable)
        : m_callable(std::move(callable)), m_target(target, owner, this) {}

    R call(Args... args) override { return static_cast<R>(m_callable(std::forward<Args>(args)...)); }

private:
    void detach() override { m_target.unregisterObject(); }

    F m_callable;
    ConnectionTarget m_target;
};

/// Calls a member function of an object; without an object it does nothing and returns a neutral value.
template <typename R, typename T, typename M>
class MemberCall {
public:
    MemberCall(T* object, M member) : m_object(object), m_member(member) {}

    template <typename... Args>
    R operator()(Args&&... args) const {
        if (!m_object) return neutralValue<R>();
        return static_cast<R>((m_object->*m_member)(std::forward<Args>(args)...));
    }

private:
    T* m_object;
    M m_member;
};

} // namespace internal
} // namespace qel
