// All workers: who does what.
#pragma once

#include "job_board.h"
#include "silence_watch.h"
#include "worker.h"

#include <functional>

namespace qelserver {

/// Hands the jobs of a board to workers, and those of a lost worker to others. A worker that hangs is killed
/// and started again. @threads main thread.
class WorkerPool {
public:
    /// The state of a worker.
    struct Seat {
        qel::SmartPointer<Worker> worker;
        qel::int64 pid = 0;   ///< of the process; 0 while there is none
        int restarts = 0;     ///< how often the process was lost
        qel::GUID job;        ///< what it does; zero for nothing
        int attempt = 0;      ///< of that job
        SilenceWatch silence; ///< of the process
    };

    /// Returns for whom a job uses files, and where: a FileAccess with the folders that are granted now.
    using AccessOfJob = std::function<qel::Item(const Job&)>;

    /// Creates a worker, which is not started yet.
    using NewWorker = std::function<qel::SmartPointer<Worker>()>;

    /// Starts @p count workers. @owner the board must outlive the pool.
    WorkerPool(JobBoard& board, qel::SmartPointer<qel::Statistics> statistics, const NewWorker& newWorker,
               int count, AccessOfJob accessOfJob);
    /// Stops all workers, together. Their jobs wait for the next start of the server.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /// Takes in what the workers reported, and restarts those that hang.
    /// @param mostAttempts  at a job that loses its worker. @return whether anything happened.
    bool poll(int mostAttempts);
    /// Gives jobs to the workers that have none. @return whether there was one to give.
    bool handOut();
    /// The workers.
    const qel::Vector<Seat>& seats() const { return m_seats; }

private:
    void take(Seat& seat, const WorkerEvent& event, int mostAttempts);
    void restartIfHanging(Seat& seat, qel::uint32 passedMs);

    JobBoard& m_board;
    const AccessOfJob m_accessOfJob;
    qel::SmartPointer<qel::Statistics> m_statistics;
    qel::Vector<Seat> m_seats;
    qel::uint32 m_lastPoll; // reading of System::getTime()
};

} // namespace qelserver
