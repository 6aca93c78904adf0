// All workers: who does what.
#pragma once

#include "job_board.h"
#include "worker.h"

#include <functional>

namespace qelserver {

/// Hands the jobs of a board to workers, and those of a lost worker to others. @threads main thread.
class WorkerPool {
public:
    /// How a worker is getting on.
    struct Seat {
        qel::SmartPointer<Worker> worker;
        qel::int64 pid = 0; ///< of the process; 0 while there is none
        int restarts = 0;   ///< how often the process was lost
        qel::GUID job;      ///< what it does; zero for nothing
        int attempt = 0;    ///< of that job
    };

    /// Returns for whom a job uses files, and where: a FileAccess with the folders that are granted now.
    using AccessOfJob = std::function<qel::Item(const Job&)>;

    /// Creates a worker, which is not started yet.
    using NewWorker = std::function<qel::SmartPointer<Worker>()>;

    /// Starts @p count workers. @owner the board must outlive the pool.
    WorkerPool(JobBoard& board, qel::SmartPointer<qel::Statistics> statistics, const NewWorker& newWorker,
               int count, AccessOfJob accessOfJob);
    /// Stops all workers, together. What they were at waits for the next start of the server.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /// Takes in what the workers said and hands out jobs. @param mostAttempts  at a job that loses its
    /// worker.
    /// @return whether anything happened.
    bool poll(int mostAttempts);
    /// The workers.
    const qel::Vector<Seat>& seats() const { return m_seats; }

private:
    void take(Seat& seat, const WorkerEvent& event, int mostAttempts);
    bool handOut();

    JobBoard& m_board;
    const AccessOfJob m_accessOfJob;
    qel::SmartPointer<qel::Statistics> m_statistics;
    qel::Vector<Seat> m_seats;
};

} // namespace qelserver
