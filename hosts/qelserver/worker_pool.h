// WorkerPool: all workers and the jobs they do.
#pragma once

#include "job_board.h"
#include "silence_watch.h"
#include "worker.h"

#include <functional>

namespace qelserver {

/// Assigns the jobs of a board to workers, and the job of a lost worker to another one. A worker that hangs
/// is killed and started again. @threads main thread.
class WorkerPool {
public:
    /// A worker and its state.
    struct Seat {
        qel::SmartPointer<Worker> worker;
        qel::int64 pid = 0;   ///< id of the process; 0 while no process runs
        int restarts = 0;     ///< how often the process was lost
        qel::GUID job;        ///< the job that it does; zero while it is idle
        int attempt = 0;      ///< number of the attempt at that job
        SilenceWatch silence; ///< how long the process has been silent
    };

    /// Returns a FileAccess that states for whom a job uses files, with the folders that are granted now.
    using AccessOfJob = std::function<qel::Item(const Job&)>;

    /// Creates a worker, which is not started yet.
    using NewWorker = std::function<qel::SmartPointer<Worker>()>;

    /// Starts @p count workers. @owner the board must outlive the pool.
    WorkerPool(JobBoard& board, qel::SmartPointer<qel::Statistics> statistics, const NewWorker& newWorker,
               int count, AccessOfJob accessOfJob);
    /// Stops all workers at the same time. Their jobs wait for the next start of the server.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /// Handles the events of the workers, and restarts workers that hang.
    /// @param mostAttempts  after how many lost workers a job fails. @return true if there were events.
    bool poll(int mostAttempts);
    /// Assigns waiting jobs to idle workers. @return true if a job was assigned.
    bool assignJobs();
    /// Returns the workers.
    const qel::Vector<Seat>& seats() const { return m_seats; }

private:
    void handleEvent(Seat& seat, const WorkerEvent& event, int mostAttempts);
    void restartIfHanging(Seat& seat, qel::uint32 passedMs);

    JobBoard& m_board;
    const AccessOfJob m_accessOfJob;
    qel::SmartPointer<qel::Statistics> m_statistics;
    qel::Vector<Seat> m_seats;
    qel::uint32 m_lastPoll; // value of System::getTime()
};

} // namespace qelserver
