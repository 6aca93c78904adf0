// AsyncSupervisor: keeps a worker process alive and exchanges packets with it.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/packet/packet.h>
#include <qel/platform/api.h>
#include <qel/process/process.h>
#include <qel/system/tasks/task_queue.h>

#include <atomic>
#include <memory>
#include <optional>

namespace qel {

/// Runs a worker program, starts it again 2 s after it was last seen alive when it has quit, hands its
/// packets to a subclass and carries packets to it. All of that happens in a loop on a queue of its own.
///
/// A subclass handles the packets and calls start() and terminate(). It must call terminate() in its own
/// destructor at the latest, since the loop calls its operations. A subclass that keeps what it is sent for
/// somebody else calls pauseReading() when that has become too much.
/// Needs System.
class QEL_API AsyncSupervisor : public Object {
    QEL_CLASS(AsyncSupervisor, Object)

public:
    /// @param path  the worker's program, as Process::spawn() takes it, but with its folder.
    explicit AsyncSupervisor(const String& path);
    /// Ends a loop and a worker that were not terminated.
    ~AsyncSupervisor() override;
    AsyncSupervisor(const AsyncSupervisor&) = delete;
    AsyncSupervisor& operator=(const AsyncSupervisor&) = delete;

    /// Stops many supervisors at the cost of one: each gets what terminate() does, but all their workers are
    /// asked, waited for and killed together, so that even those that don't answer take little more than half
    /// a second in all.
    /// @threads any thread but those of the supervisors' loops.
    static void terminateAll(const Vector<AsyncSupervisor*>& supervisors);

protected:
    /// A worker was started, or could not be; packets enqueued from now on reach it.
    /// @threads the loop's, as for the next two.
    virtual void onSubprocessStarted() = 0;
    /// The worker has quit by itself and will be started again.
    virtual void onSubprocessQuit() = 0;
    /// The worker has sent a packet, which is not bound to a scheme yet.
    virtual void onPacket(Packet* packet) = 0;

    /// Begins the loop, which calls tick() every 10 ms, and less and less often, down to every 50 ms, while
    /// nothing comes or goes.
    void start();
    /// Ends the loop, sends the worker ProcessProtocol::Terminate, gives it 500 ms to end and kills it then.
    /// start() does nothing from now on.
    /// @threads any thread but the loop's.
    void terminate();
    /// One round: starts a worker if none runs, takes its packets, sends what was enqueued, notes its end.
    /// A round ends after 2 MiB of packets, so that a worker that never stops sending does not stop the rest.
    /// For subclasses that drive the rounds themselves instead of by start().
    void tick();
    /// Stops or resumes taking the output of the worker. While it is stopped the pipes fill up, and the
    /// worker blocks as soon as it writes more. What a worker that has ended left behind is taken in any
    /// case.
    /// @threads any thread; onPacket() may call it too, which then ends the round.
    void pauseReading(bool isPaused) { m_isReadingPaused = isPaused; }
    /// Sends @p packet in the next round. What is enqueued while no worker runs is dropped when the next one
    /// is started.
    /// @owner keeps a reference until it is sent. @threads any thread.
    void enqueuePacket(Packet* packet);

    /// Makes the next round kill the worker, which then counts as one that has quit. For subclasses that
    /// notice that a worker hangs. @threads any thread.
    void restartWorker() { m_restartRequested = true; }
    /// The worker; null while there is none. @threads the loop's.
    Process* getProcess() const { return m_process.get(); }
    /// The worker's command line, as Process::spawn() takes it: its own name first. Empty stands for the path
    /// alone. To be filled before start(). @threads the loop's from then on.
    List<String> m_arguments;

private:
    class Queue;

    void runLoop();
    bool startWorker();
    void dropPackets();
    void receivePackets(bool isRunning);
    void sendPackets();
    void loseWorker();
    void askWorker();
    bool isWorkerRunning();
    void endWorker();

    String m_path; // empty when the file is missing
    std::unique_ptr<Queue> m_queue;
    SmartPointer<Process> m_process;   // of the loop, or of who ended the loop
    std::optional<uint32> m_lastAlive; // also the last attempt to start
    bool m_isQuiet = true;             // nothing has come or gone in this round
    std::atomic<bool> m_terminating{false};
    std::atomic<bool> m_restartRequested{false};
    std::atomic<bool> m_isReadingPaused{false};
    Mutex m_mutex;
    Vector<SmartPointer<Packet>> m_outgoing QEL_GUARDED_BY(m_mutex);
};

} // namespace qel
