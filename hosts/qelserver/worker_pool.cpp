#include "worker_pool.h"

#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>

namespace qelserver {

namespace {

template <class... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
template <class... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

} // namespace

WorkerPool::WorkerPool(JobBoard& board, qel::SmartPointer<qel::Statistics> statistics,
                       const NewWorker& newWorker, int count, AccessOfJob accessOfJob)
    : m_board(board),
      m_accessOfJob(std::move(accessOfJob)),
      m_statistics(std::move(statistics)),
      m_seats(static_cast<size_t>(count)),
      m_lastPoll(qel::Object::system()->getTime()) {
    for (Seat& seat : m_seats) {
        seat.worker = newWorker();
        seat.worker->begin();
    }
}

WorkerPool::~WorkerPool() {
    qel::Vector<qel::AsyncSupervisor*> workers;
    for (const Seat& seat : m_seats) workers.push_back(seat.worker.get());
    qel::AsyncSupervisor::terminateAll(workers);
}

bool WorkerPool::poll(int mostAttempts) {
    const qel::uint32 now = qel::Object::system()->getTime();
    const qel::uint32 passedMs = now - std::exchange(m_lastPoll, now);
    bool hasMoved = false;
    for (Seat& seat : m_seats) {
        const qel::Vector<WorkerEvent> events = seat.worker->takeEvents();
        if (events.empty()) restartIfHanging(seat, passedMs);
        for (const WorkerEvent& event : events) {
            const bool isHeartbeat = std::holds_alternative<event::Heartbeat>(event);
            seat.silence.hear(isHeartbeat);
            handleEvent(seat, event, mostAttempts);
            hasMoved = hasMoved || !isHeartbeat;
        }
    }
    return hasMoved;
}

void WorkerPool::restartIfHanging(Seat& seat, qel::uint32 passedMs) {
    if (!seat.silence.pass(passedMs)) return;
    qel::logging::warning() << "worker " << seat.pid << " hangs, restart " << seat.restarts + 1;
    m_statistics->increase("workers.hung", 1);
    seat.silence.restart();
    seat.worker->restart();
}

/// Ignores reports about a job that the worker does not have: a lost worker's job may have another worker
/// now.
void WorkerPool::handleEvent(Seat& seat, const WorkerEvent& event, int mostAttempts) {
    const auto isCurrent = [&seat](const auto& report) {
        return report.id == seat.job && report.attempt == seat.attempt;
    };
    std::visit(Overloaded{
                   [&](const event::Heartbeat&) {},
                   [&](const event::Started& started) {
                       seat.pid = started.pid;
                       seat.silence.restart();
                   },
                   [&](const event::Lost&) {
                       seat.pid = 0;
                       seat.silence.restart();
                       ++seat.restarts;
                       m_statistics->increase("workers.lost", 1);
                       if (seat.job) m_board.giveBack(std::exchange(seat.job, {}), mostAttempts);
                   },
                   [&](const event::Progress& progress) {
                       if (isCurrent(progress)) m_board.progress(progress.id, progress.fraction);
                   },
                   [&](const event::Done& done) {
                       if (!isCurrent(done)) return;
                       m_board.done(done.id, done.bytes, done.result);
                       seat.job = {};
                   },
                   [&](const event::Failed& failed) {
                       if (!isCurrent(failed)) return;
                       m_board.fail(failed.id, failed.error);
                       seat.job = {};
                   },
               },
               event);
}

bool WorkerPool::assignJobs() {
    bool hasMoved = false;
    for (Seat& seat : m_seats) {
        if (seat.pid == 0 || seat.job) continue;
        const Job* job = m_board.start();
        if (!job) break;
        seat.job = job->id;
        seat.attempt = job->attempts;
        seat.worker->assign(*job, m_accessOfJob(*job));
        seat.silence.expectAnswer();
        hasMoved = true;
    }
    return hasMoved;
}

} // namespace qelserver
