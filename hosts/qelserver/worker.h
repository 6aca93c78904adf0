// Worker: a supervised worker process.
#pragma once

#include "job.h"

#include <qel/foundation/base/mutex.h>
#include <qel/process/async_supervisor.h>

#include <variant>

namespace qelserver {

/// What can happen to a worker.
namespace event {

/// A process was started.
struct Started {
    qel::int64 pid = 0;
};
/// The process has ended.
struct Lost {};
/// The worker reports the progress of a job, from 0 to 1.
struct Progress {
    qel::GUID id;
    int attempt = 0;
    double fraction = 0;
};
/// The worker has done a job.
struct Done {
    qel::GUID id;
    int attempt = 0;
    qel::uint64 bytes = 0;
    qel::Item result;
};
/// The worker could not do a job.
struct Failed {
    qel::GUID id;
    int attempt = 0;
    qel::String error;
};
/// The worker sent a heartbeat.
struct Heartbeat {};

} // namespace event

using WorkerEvent =
    std::variant<event::Started, event::Lost, event::Progress, event::Done, event::Failed, event::Heartbeat>;

/// Keeps a worker process running, sends jobs to it and collects its reports until the main thread takes
/// them. While too many reports wait, the process is not read, so that it blocks. Of its log lines, the first
/// and the last are kept as described at ProcessPacketReader::enableTrimmedLog().
class Worker : public qel::AsyncSupervisor {
    QEL_CLASS(Worker, qel::AsyncSupervisor)

public:
    /// Reading pauses when this many events wait. The event that reaches a limit may exceed it by the size of
    /// one packet.
    static constexpr size_t kMostEvents = 256;
    /// Reading pauses when events of this many bytes wait.
    static constexpr size_t kMostEventBytes = size_t{16} << 20;

    /// @param program  the path of the worker's program.
    explicit Worker(const qel::String& program) : AsyncSupervisor(program) {}
    ~Worker() override { terminate(); }

    /// Starts the process, and starts it again whenever it is lost.
    virtual void begin() { start(); }
    /// Kills the process, which is then started again.
    virtual void restart() { restartWorker(); }
    /// Sends a job to the worker. @param access  a FileAccess that states for whom the job uses files, and in
    /// which folders.
    virtual void assign(const Job& job, const qel::Item& access);
    /// Removes and returns the events since the last call, in order. @threads main thread.
    virtual qel::Vector<WorkerEvent> takeEvents();

protected:
    void onSubprocessStarted() override;
    void onSubprocessQuit() override;
    void onPacket(qel::Packet* packet) override;

private:
    void addEvent(WorkerEvent event, size_t bytes);
    void logUnknown(const qel::Packet& packet);

    int m_unknownPackets = 0; // from the current process
    qel::Mutex m_mutex;
    qel::Vector<WorkerEvent> m_events QEL_GUARDED_BY(m_mutex);
    size_t m_eventBytes QEL_GUARDED_BY(m_mutex) = 0;
};

} // namespace qelserver
