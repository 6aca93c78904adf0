// RpcContext: the handler's access to a remote call.
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

/// Refers to one call and keeps it open. A handler may copy its context, return, and call finish() later from
/// anywhere; the destruction of the last context finishes the call as well.
///
/// A context that was moved from may only be destroyed or assigned to.
/// @threads contexts may be copied and destroyed on any thread; args() and result() may be used by one thread
///          at a time.
class QEL_API RpcContext {
public:
    /// Is called after an event of the call. @return false to be removed.
    using EventHandler = std::function<bool(const RpcContext&)>;

    /// Creates another context of @p call. @owner holds a reference to @p owner, which keeps @p call alive;
    /// null if the caller ensures that otherwise.
    RpcContext(RpcContextInternal& call, Object* owner);
    /// Creates another context of the same call.
    RpcContext(const RpcContext& other);
    /// Takes over the reference of @p other to its call.
    RpcContext(RpcContext&& other) noexcept;
    /// Releases this context's call as the destructor does, and refers to the call of @p other instead.
    RpcContext& operator=(RpcContext other) noexcept;
    /// Finishes the call if this was its last context.
    ~RpcContext();

    /// Returns the reader of the arguments, which all contexts of the call share.
    Item::Iterator& args() const;
    /// Returns all arguments.
    const Item& getArguments() const;
    /// Returns the result for the caller. The handler adds elements to it before it finishes the call.
    Item& result() const;
    /// Returns the name of the method that was called.
    const String& getMethodName() const;
    /// Passes the result to the caller. Only the first call of a remote call's finish() has an effect.
    void finish() const;

    /// Returns the connection that the call came by; null for a call from inside the process.
    Object* getCaller() const;
    /// Returns the user on whose behalf the call is made; zero if no user is known.
    GUID getUserGUID() const;
    /// Returns true if the caller has the right named @p right. A call from inside the process has no rights,
    /// because it needs none.
    bool hasRight(const char* right) const;

    /// Appends the paths that the caller offers to @p paths.
    void getRemotePaths(Vector<String>& paths) const;
    /// Returns the path at which a file for the service @p target must be stored; empty if that service
    /// stores no files.
    String getFileTransferTargetPath(const char* target) const;
    /// Starts to transfer files between the caller and this process.
    /// @param direction  1 to upload from the caller to this process; the transport defines other values.
    /// @param files      for each file, its path at the caller and its path here.
    void initiateFileTransfer(int direction, const Vector<Pair<String, String>>& files) const;
    /// Checks if the transfer has ended. @param code  receives 0 for success. @param status  receives a
    /// description.
    /// @return false, without changing the parameters, while the transfer is running or without a transfer.
    bool getFileTransferStatus(int& code, String& status) const;
    /// Keeps the call open and calls @p handler after every event of the call until it returns false. A
    /// handler that is added while handlers are being called is first called for the next event.
    void addEventHandler(EventHandler handler) const;

private:
    RpcContextInternal* m_call; // null after a move
    SmartPointer<Object> m_owner;
};

} // namespace qel
