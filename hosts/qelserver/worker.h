// One supervised worker.
#pragma once

#include "job.h"

#include <qel/foundation/base/mutex.h>
#include <qel/process/async_supervisor.h>

#include <variant>

namespace qelserver {

/// What happened to a worker, in the order in which it happened.
namespace event {

/// A process was started. @p pid is its id.
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

} // namespace event

using WorkerEvent = std::variant<event::Started, event::Lost, event::Progress, event::Done, event::Failed>;

/// Keeps a worker process alive, gives it jobs and collects what it says until the main thread takes it.
class Worker : public qel::AsyncSupervisor {
    QEL_CLASS(Worker, qel::AsyncSupervisor)

public:
    /// @param program  path of the worker's program.
    explicit Worker(const qel::String& program) : AsyncSupervisor(program) {}
    ~Worker() override { terminate(); }

    /// Starts the process, now and whenever it is lost.
    virtual void begin() { start(); }
    /// Gives the worker a job. @param access  a FileAccess: for whom it uses files, and where.
    virtual void assign(const Job& job, const qel::Item& access);
    /// What happened since the last call. @threads main thread.
    virtual qel::Vector<WorkerEvent> takeEvents();

protected:
    void onSubprocessStarted() override;
    void onSubprocessQuit() override;
    void onPacket(qel::Packet* packet) override;

private:
    void note(WorkerEvent event);

    qel::Mutex m_mutex;
    qel::Vector<WorkerEvent> m_events QEL_GUARDED_BY(m_mutex);
};

} // namespace qelserver
