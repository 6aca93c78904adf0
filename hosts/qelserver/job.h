// Job: the server's view of a job.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/store/core/guid.h>
#include <qel/store/core/item.h>

namespace qelserver {

/// The state of a job. The numbers are stored.
enum class JobState : qel::int32 { Waiting = 0, Running = 1, Done = 2, Failed = 3 };

/// A task for a worker, and its outcome.
struct Job {
    qel::GUID id;
    qel::String kind;               ///< what to do with the files; the workers define the names
    qel::Vector<qel::String> files; ///< absolute paths
    qel::Item access;               ///< a FileAccess without folders: the user who submitted the job
    JobState state = JobState::Waiting;
    int attempts = 0;         ///< how often it was assigned to a worker
    qel::int64 submitted = 0; ///< unique UTC date and time; jobs are done in this order
    double progress = 0;      ///< 0 to 1; reset by each attempt; not stored, but 1 once the job is done
    qel::Item result;         ///< one element; empty until the job is done
    qel::String error;        ///< why the job failed; empty unless it has

    /// Returns true if the job is done or has failed.
    bool hasEnded() const { return state == JobState::Done || state == JobState::Failed; }
};

} // namespace qelserver
