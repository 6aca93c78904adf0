// RpcContextInternal: the state of one remote call, from which transports derive their calls.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>
#include <qel/rpc/rpc_context.h>
#include <qel/store/core/guid.h>
#include <qel/store/core/item.h>

#include <atomic>
#include <functional>

namespace qel {

/// The handler of a remote call. It reads the arguments, adds to the result and finishes the call, now or
/// later.
using RpcFunction = std::function<void(const RpcContext&)>;

/// The state of one call. A transport derives its own class of calls from it. The derived object is an
/// Object, or belongs to one, which the contexts keep alive.
///
/// The transport decodes a request and passes it to setMethodName() and setArguments(). It checks with
/// hasRight() for the right that the provider recorded, runs the handler with run(), and sends result() when
/// finish() is called. When a file transfer has made progress, it calls callEventHandlers().
/// @threads main thread, except for what RpcContext allows.
class QEL_API RpcContextInternal {
public:
    RpcContextInternal();
    RpcContextInternal(const RpcContextInternal&) = delete;
    RpcContextInternal& operator=(const RpcContextInternal&) = delete;
    virtual ~RpcContextInternal();

    /// Passes the result to the caller; only the first call has an effect. It is also called by the thread
    /// that destroys the last context.
    virtual void finish() = 0;
    /// As RpcContext::getFileTransferTargetPath.
    virtual String getFileTransferTargetPath(const char* target) const = 0;
    /// As RpcContext::initiateFileTransfer.
    virtual void initiateFileTransfer(int direction, const Vector<Pair<String, String>>& files) = 0;
    /// As RpcContext::getFileTransferStatus.
    virtual bool getFileTransferStatus(int& code, String& status) const = 0;
    /// As RpcContext::getRemotePaths.
    virtual void getRemotePaths(Vector<String>& paths) const = 0;
    /// As RpcContext::hasRight.
    virtual bool hasRight(const char* right) const = 0;
    /// As RpcContext::getCaller.
    virtual Object* getCaller() const = 0;
    /// As RpcContext::getUserGUID.
    virtual GUID getUserGUID() const = 0;

    /// Sets the name of the method; null counts as "".
    void setMethodName(const char* name) { m_methodName = name; }
    /// Sets the arguments to a copy; args() starts at the first one again.
    void setArguments(const Item& arguments);

    /// As RpcContext::args.
    Item::Iterator& args() { return m_args; }
    /// As RpcContext::getArguments.
    const Item& getArguments() const { return m_arguments; }
    /// As RpcContext::result.
    Item& result() { return m_result; }
    /// As RpcContext::getMethodName.
    const String& getMethodName() const { return m_methodName; }
    /// Returns true if finish() was called. @threads any thread.
    bool isFinished() const { return m_finished.load(std::memory_order_acquire); }

    /// As RpcContext::addEventHandler.
    void addEventHandler(RpcContext::EventHandler handler);
    /// Returns true if the call has event handlers.
    bool hasEventHandlers() const { return m_eventHandlerCount != 0; }
    /// Calls each event handler once, in the order in which they were added, and removes those that return
    /// false. A transport calls it after an event of the call.
    /// @param caller  the Object that keeps this call alive; the handlers' contexts hold a reference to it.
    /// @errors logged if the last handler is removed and the call was not finished. Exceptions of a handler
    ///         pass through; the handler is kept.
    void callEventHandlers(Object* caller);

protected:
    /// Calls @p function with a context that keeps @p owner alive. The call is finished afterwards if no
    /// other context or event handler keeps it open.
    /// @errors logged if such a call was not finished by its handler. Exceptions of @p function pass through;
    ///         std::bad_function_call if it is empty.
    void run(const RpcFunction& function, Object* owner);
    /// Marks the call as finished. @return true the first time. @threads any thread.
    bool markFinished() { return !m_finished.exchange(true, std::memory_order_acq_rel); }

private:
    friend class RpcContext;

    class Round;

    void logIfForgotten(const char* where) const;

    String m_methodName;
    Item m_arguments;
    Item m_result;
    Item::Iterator m_args;
    std::atomic<bool> m_finished{false};
    std::atomic<int> m_liveCount{0}; // contexts and event handlers
    List<RpcContext::EventHandler> m_eventHandlers;
    size_t m_eventHandlerCount = 0; // includes those that are being called
};

} // namespace qel
