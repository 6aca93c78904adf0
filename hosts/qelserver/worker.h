// One supervised worker.
#pragma once

#include "job.h"

#include <qel/foundation/base/mutex.h>
#include <qel/process/async_supervisor.h>

#include <variant>

namespace qelserver {

/// What happened to a worker, in the order in which it happened.
namespace event {

/// A process was started; @p pid is its id.
struct Started {
    qel::int64 pid;
};
/// The process is gone.
struct Lost {};
/// How far a job is.
struct Progress {
    qel::GUID id;
    int attempt;
    double fraction;
};
/// A job is done.
struct Done {
    qel::GUID id;
    int attempt;
    qel::uint64 bytes;
    qel::Item result;
};
/// A job can't be done.
struct Failed {
    qel::GUID id;
    int attempt;
    qel::String error;
};
/// The worker answers.
struct Heartbeat {};

} // namespace event

using WorkerEvent =
    std::variant<event::Started, event::Lost, event::Progress, event::Done, event::Failed, event::Heartbeat>;

/// Keeps a worker process alive, gives it jobs and collects what it reports until the main thread takes it.
/// A worker that reports more than is taken is not read meanwhile, until it blocks. Of its log lines the
/// first and the last are kept, as ProcessPacketReader::enableTrimmedLog() describes.
class Worker : public qel::AsyncSupervisor {
    QEL_CLASS(Worker, qel::AsyncSupervisor)

public:
    /// Reading stops when so many events wait, or events of so many bytes. The event that reaches a limit may
    /// go beyond it by the size of one packet.
    static constexpr size_t kMostEvents = 256;
    static constexpr size_t kMostEventBytes = size_t{16} << 20; ///< as kMostEvents

    /// @param program  path of the worker's program.
    explicit Worker(const qel::String& program) : AsyncSupervisor(program) {}
    ~Worker() override { terminate(); }

    /// Starts the process, now and whenever it is lost.
    virtual void begin() { start(); }
    /// Kills the process, which is then started again.
    virtual void restart() { restartWorker(); }
    /// Gives the worker a job. @param access  a FileAccess: for whom it uses files, and where.
    virtual void assign(const Job& job, const qel::Item& access);
    /// Takes what has happened since the last call. @threads main thread.
    virtual qel::Vector<WorkerEvent> takeEvents();

protected:
    void onSubprocessStarted() override;
    void onSubprocessQuit() override;
    void onPacket(qel::Packet* packet) override;

private:
    void note(WorkerEvent event, size_t bytes);
    void logUnknown(const qel::Packet& packet);

    int m_unknownPackets = 0; // of this process
    qel::Mutex m_mutex;
    qel::Vector<WorkerEvent> m_events QEL_GUARDED_BY(m_mutex);
    size_t m_eventBytes QEL_GUARDED_BY(m_mutex) = 0;
};

} // namespace qelserver
