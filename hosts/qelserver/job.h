// A job, as the server knows it.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/store/core/guid.h>
#include <qel/store/core/item.h>

namespace qelserver {

/// How far a job is. The numbers are stored.
enum class JobState : qel::int32 { Waiting = 0, Running = 1, Done = 2, Failed = 3 };

/// What a worker is to do, and what became of it.
struct Job {
    qel::GUID id;
    qel::String kind;               ///< what is done with the files; the worker knows the names
    qel::Vector<qel::String> files; ///< absolute paths
    qel::Item access;               ///< a FileAccess: who asked for the job; without folders
    JobState state = JobState::Waiting;
    int attempts = 0;         ///< how often it was given to a worker
    qel::int64 submitted = 0; ///< UTC date and time; also the order in which jobs are done
    double progress = 0;      ///< 0 to 1; starts anew with each attempt; not stored, but 1 once it is done
    qel::Item result;         ///< one element, once it is done
    qel::String error;        ///< why it failed

    /// Whether nothing more happens to it.
    bool hasEnded() const { return state == JobState::Done || state == JobState::Failed; }
};

} // namespace qelserver
