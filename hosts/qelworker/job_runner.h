// JobRunner: does the jobs that arrive as packets.
#pragma once

#include "step_watch.h"

#include <hosts/jobs/file_access.h>
#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/packet/packet.h>
#include <qel/store/core/guid.h>
#include <qel/system/tasks/task_queue.h>

#include <optional>

namespace qelworker {

/// Does jobs one after the other on a queue of its own. It writes packets to standard output: the progress of
/// a job at most ten times a second, and finally its result or why it failed.
/// @threads main thread.
class JobRunner {
public:
    JobRunner() : m_queue(qel::TaskQueue::kDeleteIO) {}

    /// Queues the job in @p packet. @errors a packet that is not a job is logged.
    void enqueueJob(qel::Packet& packet);
    /// Stops the current job and drops the others. None of them is answered.
    void end() { m_queue.abort(); }
    /// Returns true if the current job hangs. @param now  value of System::getTime().
    bool isHanging(qel::uint32 now) const { return m_steps.isHanging(now); }

private:
    /// The content of a Job packet.
    struct Job {
        qel::GUID id;
        qel::int32 attempt;
        qel::String kind;
        qel::Vector<qel::String> files;
        std::optional<qeljobs::FileAccess> access; // nothing if the user is not known
    };
    class Progress;

    void run(const Job& job, const qel::TaskContext& context);
    static qel::String processFiles(const Job& job, Progress& progress, qel::Item& result);
    static void sendReport(const Job& job, qel::Packet& packet);

    StepWatch m_steps;
    qel::TaskQueue m_queue;
};

} // namespace qelworker
