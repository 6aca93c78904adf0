// Does the jobs that come as packets, one after the other.
#pragma once

#include <hosts/jobs/file_access.h>
#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/packet/packet.h>
#include <qel/store/core/guid.h>
#include <qel/system/tasks/task_queue.h>

#include <optional>

namespace qelworker {

/// Does jobs on a queue of its own and answers by packets on standard output: how far a job is, ten times a
/// second at most, and at its end its result or why it failed.
/// @threads main thread.
class JobRunner {
public:
    JobRunner() : m_queue(qel::TaskQueue::kDeleteIO) {}

    /// Takes a packet of any kind; one that is no job is logged.
    void take(qel::Packet& packet);
    /// Ends the job that is being done and drops the others, without an answer.
    void end() { m_queue.abort(); }

private:
    /// What a Job packet says.
    struct Job {
        qel::GUID id;
        qel::int32 attempt;
        qel::String kind;
        qel::Vector<qel::String> files;
        std::optional<qeljobs::FileAccess> access; // nothing if it is not known who asked
    };
    class Progress;

    static void run(const Job& job, const qel::TaskContext& context);
    static qel::String work(const Job& job, Progress& progress, qel::Item& result);
    static void answer(const Job& job, qel::Packet& packet);

    qel::TaskQueue m_queue;
};

} // namespace qelworker
