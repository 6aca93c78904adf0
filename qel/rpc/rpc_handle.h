// RpcHandle: a remote call made from inside the process.
#pragma once

#include <qel/foundation/base/delegate.h>
#include <qel/rpc/rpc_context_internal.h>
#include <qel/system/tasks/task_queue.h>

namespace qel {

class RpcProvider;

namespace internal {
class RpcRegistry;
}

/// A call from inside the process, created by RpcProvider::createLocalRPC(). Its handler runs on the main
/// thread, in the pass after start(). A local caller is trusted and needs no rights.
///
/// @code
/// SmartPointer<RpcHandle> call = provider.createLocalRPC();
/// call->setMethodName("advanced_option_get");
/// call->setArguments(arguments);
/// call->delegateFinished.connect([](RpcHandle* done) { use(done->result()); });
/// call->start();
/// @endcode
class QEL_API RpcHandle : public TaskQueue::Task, public RpcContextInternal {
    QEL_CLASS(RpcHandle, TaskQueue::Task)

public:
    ~RpcHandle() override;

    /// Sets the user on whose behalf the call is made; none by default.
    void setUserGUID(const GUID& user) { m_user = user; }
    /// Queues the call for the main thread, the first time only.
    /// @return false if the provider was destroyed; the call has then failed and is finished.
    /// @owner    the queue holds a reference until the handler has returned.
    /// @threads  any thread.
    bool start();
    /// Blocks until the call is finished or its provider was destroyed; checks every 50 ms.
    /// @threads any thread except the main thread, which runs the call.
    void wait();
    /// Returns true if start() was called. @threads any thread.
    bool hasStarted() const { return m_started.load(std::memory_order_acquire); }
    /// Returns true if the call could not be run, because its method or the provider does not exist. Errors
    /// of a handler are not included. @threads any thread.
    bool hasFailed() const { return m_failed.load(std::memory_order_acquire); }

    /// Is called once, when the call is finished, on the thread that finishes it.
    Delegate<void(RpcHandle*)> delegateFinished;

    /// Calls delegateFinished the first time.
    void finish() override;
    /// Returns "", because files are not transferred within a process.
    String getFileTransferTargetPath(const char* target) const override;
    /// Does nothing.
    void initiateFileTransfer(int direction, const Vector<Pair<String, String>>& files) override;
    /// Returns false.
    bool getFileTransferStatus(int& code, String& status) const override;
    /// Adds nothing.
    void getRemotePaths(Vector<String>& paths) const override;
    /// Returns false for every right.
    bool hasRight(const char* right) const override;
    /// Returns null.
    Object* getCaller() const override;
    /// Returns the user that setUserGUID() set.
    GUID getUserGUID() const override { return m_user; }

private:
    friend class RpcProvider;

    explicit RpcHandle(SmartPointer<internal::RpcRegistry> registry);
    void execute(TaskContext& context) override;
    void fail();

    std::atomic<bool> m_started{false};
    std::atomic<bool> m_failed{false};
    GUID m_user;
    SmartPointer<internal::RpcRegistry> m_registry;
};

} // namespace qel
