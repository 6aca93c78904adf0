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

/// A call from inside the process, made by RpcProvider::createLocalRPC(). Its handler runs on the main
/// thread, in the pass after start(). A local caller is trusted: no right is asked for.
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

    /// Names the user on whose behalf the call is made; nobody is when it is never called.
    void setUserGUID(const GUID& user) { m_user = user; }
    /// Queues the call for the main thread; later calls do nothing.
    /// @return true, or false when the provider has died: the call has failed and is finished then.
    /// @owner    the queue holds a reference until the handler has returned.
    /// @threads  any thread.
    bool start();
    /// Blocks until the call is finished or its provider has died; looks every 50 ms.
    /// @threads any but the main thread, which runs the call.
    void wait();
    /// Whether start() was called. @threads any thread.
    bool hasStarted() const { return m_started.load(std::memory_order_acquire); }
    /// Whether nobody was there to take the call: no handler has its name. What a handler makes of its
    /// arguments is in the result. @threads any thread.
    bool hasFailed() const { return m_failed.load(std::memory_order_acquire); }

    /// Called once, when the call is finished, on the thread that finishes it.
    Delegate<void(RpcHandle*)> delegateFinished;

    /// Calls delegateFinished, the first time.
    void finish() override;
    /// Empty: nothing is transferred within a process.
    String getFileTransferTargetPath(const char* target) const override;
    /// Does nothing.
    void initiateFileTransfer(int direction, const Vector<Pair<String, String>>& files) override;
    /// False.
    bool getFileTransferStatus(int& code, String& status) const override;
    /// Adds none.
    void getRemotePaths(Vector<String>& paths) const override;
    /// False, whatever the right.
    bool hasRight(const char* right) const override;
    /// Null.
    Object* getCaller() const override;
    /// What setUserGUID() stored.
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
