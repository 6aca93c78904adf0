// RpcContextInternal: the state of one remote call, and what a transport supplies for it.
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

/// What a remote call runs. It reads its arguments, adds to the result and finishes the call, now or later.
using RpcFunction = std::function<void(const RpcContext&)>;

/// The state of one call. A transport derives its own kind of call from it, which is or belongs to an Object
/// that the contexts keep alive.
///
/// The transport decodes a request into setMethodName() and setArguments(), asks hasRight() for the right
/// that the provider recorded, runs the handler by run(), and sends result() when finish() is called. When a
/// file transfer has moved on, it calls callEventHandlers().
/// @threads main thread, but for what RpcContext allows.
class QEL_API RpcContextInternal {
public:
    RpcContextInternal();
    RpcContextInternal(const RpcContextInternal&) = delete;
    RpcContextInternal& operator=(const RpcContextInternal&) = delete;
    virtual ~RpcContextInternal();

    /// Hands the result to the caller; what comes after the first time has no effect. It is reached from
    /// whichever thread drops the last context.
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

    /// Stores the name of the handler to call; null counts as "".
    void setMethodName(const char* name) { m_methodName = name; }
    /// Stores a copy of the arguments; args() starts over.
    void setArguments(const Item& arguments);

    /// As RpcContext::args.
    Item::Iterator& args() { return m_args; }
    /// As RpcContext::getArguments.
    const Item& getArguments() const { return m_arguments; }
    /// As RpcContext::result.
    Item& result() { return m_result; }
    /// As RpcContext::getMethodName.
    const String& getMethodName() const { return m_methodName; }
    /// Whether finish() was called. @threads any thread.
    bool isFinished() const { return m_finished.load(std::memory_order_acquire); }

    /// As RpcContext::addEventHandler.
    void addEventHandler(RpcContext::EventHandler handler);
    /// Whether somebody waits for events of this call.
    bool hasEventHandlers() const { return m_eventHandlerCount != 0; }
    /// Something has happened to the call: calls each event handler once, in the order they were added, with
    /// a context that keeps @p caller alive, and lets go of those that return false.
    /// @param caller  the Object that keeps this call alive.
    /// @errors logged when the last one lets go of a call that nobody has finished. An exception of a handler
    ///         passes through; the handler stays.
    void callEventHandlers(Object* caller);

protected:
    /// Calls @p function with a context that keeps @p owner alive. A call that nobody holds on to afterwards
    /// ends with it.
    /// @errors logged when such a call was not finished. Exceptions of @p function pass through;
    ///         std::bad_function_call when it is empty.
    void run(const RpcFunction& function, Object* owner);
    /// Marks the call finished. @return whether this was the first time. @threads any thread.
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
    size_t m_eventHandlerCount = 0; // those that are being called count too
};

} // namespace qel
