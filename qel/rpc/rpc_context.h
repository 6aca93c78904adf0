// RpcContext: what the handler of a remote call sees of its call.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>
#include <qel/store/core/guid.h>
#include <qel/store/core/item.h>

#include <functional>

namespace qel {

class RpcContextInternal;

/// A handler's hold on one call. The call stays open as long as a context of it lives: a handler may copy its
/// context, return, and call finish() later from any place; dropping the last copy finishes the call too.
///
/// A context that was moved from may only be destroyed or assigned to.
/// @threads contexts may be copied and dropped on any thread; args() and result() belong to one at a time.
class QEL_API RpcContext {
public:
    /// Looks at the call after something happened to it. @return false when it has seen enough.
    using EventHandler = std::function<bool(const RpcContext&)>;

    /// A further context of @p call. @owner holds a reference to @p owner, which keeps @p call alive; null
    /// when that is sure anyway.
    RpcContext(RpcContextInternal& call, Object* owner);
    /// A further context of the same call.
    RpcContext(const RpcContext& other);
    /// Takes over the place of @p other in its call.
    RpcContext(RpcContext&& other) noexcept;
    /// Drops this context as the destructor does and stands in for @p other's call.
    RpcContext& operator=(RpcContext other) noexcept;
    /// Finishes the call when this was its last context.
    ~RpcContext();

    /// Reads the arguments; one reader that all contexts of the call share.
    Item::Iterator& args() const;
    /// All arguments.
    const Item& getArguments() const;
    /// What the caller gets: the handler adds elements to it before it finishes the call.
    Item& result() const;
    /// The name under which the call came.
    const String& getMethodName() const;
    /// Hands the result to the caller. Only the first time has an effect.
    void finish() const;

    /// The connection that the call came by; null for a call from inside the process.
    Object* getCaller() const;
    /// The user on whose behalf the call is made; all zero for none.
    GUID getUserGUID() const;
    /// Whether the caller has the right named @p right. A call from inside the process has none: it was never
    /// asked for one.
    bool hasRight(const char* right) const;

    /// Appends the paths that the caller offers.
    void getRemotePaths(Vector<String>& paths) const;
    /// Where a file for the service @p target is to be stored; empty when nothing is stored under that name.
    String getFileTransferTargetPath(const char* target) const;
    /// Starts to transfer files between caller and callee.
    /// @param direction  1 uploads, from the caller to here; other values are the transport's.
    /// @param files      for each file the path at the caller and the path here.
    void initiateFileTransfer(int direction, const Vector<Pair<String, String>>& files) const;
    /// Asks for the end of the transfer. @param code  0 for success. @param status  in words.
    /// @return false while it goes on, or when there is none; the outputs are left alone then.
    bool getFileTransferStatus(int& code, String& status) const;
    /// Keeps the call open and has @p handler called whenever something happens to it, until it returns
    /// false. A handler added while handlers are being called is called from the next time on.
    void addEventHandler(EventHandler handler) const;

private:
    RpcContextInternal* m_call; // null when moved from
    SmartPointer<Object> m_owner;
};

} // namespace qel
