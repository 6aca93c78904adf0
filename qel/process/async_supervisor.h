// AsyncSupervisor: keeps a worker process running and exchanges packets with it.
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

namespace internal {
class WakePipe;
}

/// Runs a worker program. If the worker quits, it is started again 2 s after it was last seen running.
/// Packets from the worker are passed to a subclass, and enqueued packets are sent to the worker. All of this
/// happens in a loop on a queue of its own.
///
/// A subclass handles the packets and calls start() and terminate(). It must call terminate() in its
/// destructor at the latest, because the loop calls its operations. A subclass that stores packets for
/// another thread calls pauseReading() when it has stored too many. Requires System.
class QEL_API AsyncSupervisor : public Object {
    QEL_CLASS(AsyncSupervisor, Object)

public:
    /// @param path  the path of the worker's program, including its folder.
    explicit AsyncSupervisor(const String& path);
    /// Ends the loop and the worker if terminate() was not called.
    ~AsyncSupervisor() override;
    AsyncSupervisor(const AsyncSupervisor&) = delete;
    AsyncSupervisor& operator=(const AsyncSupervisor&) = delete;

    /// Does what terminate() does for several supervisors at the same time: all workers are asked to end,
    /// waited for and killed together, so that it takes little more than half a second even if none of them
    /// responds.
    /// @threads any thread except those of the supervisors' loops.
    static void terminateAll(const Vector<AsyncSupervisor*>& supervisors);

protected:
    /// Is called after an attempt to start a worker, successful or not. Packets that are enqueued from now on
    /// are sent to it. @threads the loop's, as for the next two.
    virtual void onSubprocessStarted() = 0;
    /// Is called when the worker has quit by itself; it will be started again.
    virtual void onSubprocessQuit() = 0;
    /// Is called for each packet from the worker, which is not bound to a scheme yet.
    virtual void onPacket(Packet* packet) = 0;

    /// Starts the loop, which calls tick() every 10 ms. While nothing is sent or received, it waits for
    /// something to do, at most half a second.
    void start();
    /// Ends the loop, sends ProcessProtocol::Terminate to the worker, and kills it if it has not ended after
    /// 500 ms. start() does nothing from now on.
    /// @threads any thread except the loop's.
    void terminate();
    /// Runs one round: starts a worker if none is running, receives its packets, sends enqueued packets and
    /// detects its end. A round receives at most 2 MiB of packets, so that a worker that sends without a
    /// pause does not block the loop. Subclasses that do not call start() call it themselves.
    void tick();
    /// Pauses or resumes reading the output of the worker. While reading is paused, the pipes fill up and the
    /// worker blocks when it writes more. The remaining output of a worker that has ended is read in any
    /// case.
    /// @threads any thread. A pause by onPacket() also ends the round.
    void pauseReading(bool isPaused);
    /// Sends @p packet in the next round. Packets that are enqueued while no worker is running are dropped
    /// when the next one is started.
    /// @owner holds a reference until the packet is sent. @threads any thread.
    void enqueuePacket(Packet* packet);

    /// Makes the next round kill the worker, which is then treated as one that has quit. For subclasses that
    /// detect a worker that hangs. @threads any thread.
    void restartWorker();
    /// Returns the worker; null while no worker runs. @threads the loop's.
    Process* getProcess() const { return m_process.get(); }
    /// The command line for Process::spawn(), beginning with the name of the program. If it is empty, the
    /// path is used. Must be set before start(). @threads the loop's after start().
    List<String> m_arguments;

private:
    class Queue;

    void runLoop();
    void pause(uint32 passedMs);
    bool startWorker();
    void dropPackets();
    void receivePackets(bool isRunning);
    void sendPackets();
    void loseWorker();
    void askWorker();
    bool isWorkerRunning();
    void endWorker();

    String m_path; // empty if the file does not exist
    std::unique_ptr<Queue> m_queue;
    std::unique_ptr<internal::WakePipe> m_wakePipe;
    SmartPointer<Process> m_process;   // used by the loop, and by the thread that ended the loop
    std::optional<uint32> m_lastAlive; // also set by each attempt to start
    uint32 m_roundMs = 0;              // how long a round takes at least
    bool m_isQuiet = true;             // nothing was sent or received in this round
    std::atomic<bool> m_terminating{false};
    std::atomic<bool> m_restartRequested{false};
    std::atomic<bool> m_isReadingPaused{false};
    Mutex m_mutex;
    Vector<SmartPointer<Packet>> m_outgoing QEL_GUARDED_BY(m_mutex);
};

} // namespace qel
