#include "worker_pool.h"

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
      m_seats(static_cast<size_t>(count)) {
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
    bool moved = false;
    for (Seat& seat : m_seats) {
        for (const WorkerEvent& event : seat.worker->takeEvents()) {
            take(seat, event, mostAttempts);
            moved = true;
        }
    }
    return handOut() || moved;
}

/// An answer counts only while it is about what the worker is at: a lost worker's job may be with another.
void WorkerPool::take(Seat& seat, const WorkerEvent& event, int mostAttempts) {
    const auto isAt = [&seat](const auto& answer) {
        return answer.id == seat.job && answer.attempt == seat.attempt;
    };
    std::visit(Overloaded{
                   [&](const event::Started& started) { seat.pid = started.pid; },
                   [&](const event::Lost&) {
                       seat.pid = 0;
                       ++seat.restarts;
                       m_statistics->increase("workers.lost", 1);
                       if (seat.job) m_board.giveBack(std::exchange(seat.job, {}), mostAttempts);
                   },
                   [&](const event::Progress& progress) {
                       if (isAt(progress)) m_board.progress(progress.id, progress.fraction);
                   },
                   [&](const event::Done& done) {
                       if (!isAt(done)) return;
                       m_board.done(done.id, done.bytes, done.result);
                       seat.job = {};
                   },
                   [&](const event::Failed& failed) {
                       if (!isAt(failed)) return;
                       m_board.fail(failed.id, failed.error);
                       seat.job = {};
                   },
               },
               event);
}

bool WorkerPool::handOut() {
    bool moved = false;
    for (Seat& seat : m_seats) {
        if (seat.pid == 0 || seat.job) continue;
        const Job* job = m_board.start();
        if (!job) break;
        seat.job = job->id;
        seat.attempt = job->attempts;
        seat.worker->assign(*job, m_accessOfJob(*job));
        moved = true;
    }
    return moved;
}

} // namespace qelserver
