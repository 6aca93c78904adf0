// RpcProvider: the registry of remote calls.
#pragma once

#include <qel/foundation/base/signal.h>
#include <qel/rpc/rpc_context_internal.h>
#include <qel/rpc/rpc_handle.h>

#include <memory>

namespace qel {

/// Holds the handlers of named calls, and the right that each asks for. The same handlers serve calls from
/// inside the process, which createLocalRPC() makes, and calls that arrive through a transport; a transport
/// derives from this class and from RpcContextInternal.
///
/// Local calls that have not run when the provider dies are dropped unfinished.
/// @threads main thread: calls are registered and run there.
class QEL_API RpcProvider {
public:
    RpcProvider();
    RpcProvider(const RpcProvider&) = delete;
    RpcProvider& operator=(const RpcProvider&) = delete;
    virtual ~RpcProvider();

    /// Registers @p handler under @p name, in place of an earlier one. A right that was recorded for the name
    /// stays.
    /// @param description  what the call does, for documentation; not kept.
    /// @param signature    as "(String name) : Bool success"; not kept.
    void addRPC(const char* name, RpcFunction handler, const char* description, const char* signature);
    /// As addRPC, and records that a caller from outside needs @p right; null records "".
    void addRPCWithRight(const char* name, const char* right, RpcFunction handler, const char* description,
                         const char* signature);
    /// A place for a host that collects documentation; does nothing here.
    void addRpcDocu(const char* name, const char* description, const char* signature);
    /// Removes the handler of @p name; an unknown name is ignored. The right that was recorded for it stays.
    void removeRPC(const char* name);
    /// Brackets the registration of a group of calls. @owner keeps the pointer only; null ends the group.
    void setCategory(const char* category) { m_category = category; }
    /// What setCategory() was last given.
    const char* getCategory() const { return m_category; }

    /// A call from inside the process, yet to be filled in and started.
    SmartPointer<RpcHandle> createLocalRPC();

    /// The handler of @p name, null when there is none. It lives on while it is held, were it removed.
    std::shared_ptr<const RpcFunction> findRPC(const char* name) const;
    /// The right recorded for @p name, null when none ever was. @owner valid until a right is recorded.
    const String* findRight(const char* name) const;
    /// The names of all handlers, in the order of their bytes.
    Vector<String> getMethodNames() const;

    /// Publishes an event, by name and arguments, to the transports that listen.
    Signal<void(const char*, const Item&)> signalEvent;

private:
    const char* m_category = nullptr;
    SmartPointer<internal::RpcRegistry> m_registry;
    TaskQueue m_queue{TaskQueue::kMain}; // ends before the registry
};

} // namespace qel
