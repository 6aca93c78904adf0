// RpcProvider: the registry of remote calls.
#pragma once

#include <qel/foundation/base/signal.h>
#include <qel/rpc/rpc_context_internal.h>
#include <qel/rpc/rpc_handle.h>

#include <memory>

namespace qel {

/// Holds the handlers of named calls, and the right that each call needs. The same handlers serve calls from
/// inside the process, which createLocalRPC() creates, and calls that arrive through a transport. A transport
/// derives from this class and from RpcContextInternal.
///
/// Local calls that have not run when the provider is destroyed are dropped without being finished.
/// @threads main thread, where calls are registered and run.
class QEL_API RpcProvider {
public:
    RpcProvider();
    RpcProvider(const RpcProvider&) = delete;
    RpcProvider& operator=(const RpcProvider&) = delete;
    virtual ~RpcProvider();

    /// Registers @p handler under @p name and replaces an earlier one. A right that was recorded for the name
    /// is kept.
    /// @param description  what the call does, for documentation; not stored.
    /// @param signature    for example "(String name) : Bool success"; not stored.
    void addRPC(const char* name, RpcFunction handler, const char* description, const char* signature);
    /// As addRPC(), and records that a caller from another process needs @p right; null records "".
    void addRPCWithRight(const char* name, const char* right, RpcFunction handler, const char* description,
                         const char* signature);
    /// Does nothing. A derived provider that collects documentation may declare its own.
    void addRpcDocu(const char* name, const char* description, const char* signature);
    /// Removes the handler of @p name; an unknown name is ignored. The right that was recorded for the name
    /// is kept.
    void removeRPC(const char* name);
    /// Sets the category of the calls that are registered next; null ends it. @owner stores the pointer only.
    void setCategory(const char* category) { m_category = category; }
    /// Returns the pointer that setCategory() was last given.
    const char* getCategory() const { return m_category; }

    /// Creates a call from inside the process, which the caller fills in and starts.
    SmartPointer<RpcHandle> createLocalRPC();

    /// Returns the handler of @p name, or null. It stays valid while held, even after removeRPC().
    std::shared_ptr<const RpcFunction> findRPC(const char* name) const;
    /// Returns the right recorded for @p name; null if none was ever recorded. @owner valid until a right is
    /// recorded.
    const String* findRight(const char* name) const;
    /// Returns the names of all handlers, in byte order.
    Vector<String> getMethodNames() const;

    /// Publishes an event, given by its name and arguments, to connected transports.
    Signal<void(const char*, const Item&)> signalEvent;

private:
    const char* m_category = nullptr;
    SmartPointer<internal::RpcRegistry> m_registry;
    TaskQueue m_queue{TaskQueue::kMain}; // destroyed before the registry
};

} // namespace qel
