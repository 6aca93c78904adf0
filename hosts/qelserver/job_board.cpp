#include "job_board.h"

#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>

#include <algorithm>

namespace qelserver {

namespace {

/// About how many bytes of memory a job takes.
size_t sizeOf(const Job& job) {
    size_t size = sizeof(Job) + job.kind.size() + job.access.getPlainSize() + job.result.getPlainSize() +
                  job.error.size();
    for (const qel::String& file : job.files) size += sizeof(file) + file.size();
    return size;
}

} // namespace

JobBoard::JobBoard(qel::SmartPointer<JobTable> table, qel::SmartPointer<qel::Statistics> statistics,
                   const Limits& limits)
    : m_table(std::move(table)), m_statistics(std::move(statistics)), m_limits(limits) {
    for (Job& job : m_table->load()) {
        m_order.emplace(job.submitted, job.id);
        m_bytes += sizeOf(job);
        if (job.state == JobState::Running) {
            job.state = JobState::Waiting;
            --job.attempts;
        }
        if (job.hasEnded()) ++m_endedCount;
        m_jobs[job.id] = std::move(job);
    }
    for (const auto& [submitted, id] : m_order) {
        if (!m_jobs[id].hasEnded()) m_waiting.push_back(id);
    }
}

qel::GUID JobBoard::submit(const qel::String& kind, qel::Vector<qel::String> files, const qel::Item& access) {
    Job job;
    job.kind = kind;
    job.files = std::move(files);
    job.access = access;
    job.submitted = qel::Object::system()->getUTCDateTimeUnique();
    const size_t bytes = sizeOf(job);
    forgetOldest(m_limits.ended, bytes, 0);
    if (m_bytes + bytes > m_limits.bytes) {
        qel::logging::warning() << "refused a job: too many wait";
        return {};
    }
    m_bytes += bytes;
    m_table->add(job);
    m_order.emplace(job.submitted, job.id);
    m_waiting.push_back(job.id);
    m_statistics->increase("jobs.submitted", 1);
    const qel::GUID id = job.id;
    m_jobs[id] = std::move(job);
    return id;
}

void JobBoard::forget(const qel::GUID& id) {
    const auto found = m_jobs.find(id);
    if (found == m_jobs.end() || found->second.state != JobState::Waiting) return;
    std::erase(m_waiting, id);
    erase(found);
}

const Job* JobBoard::find(const qel::GUID& id) const {
    const auto found = m_jobs.find(id);
    return found == m_jobs.end() ? nullptr : &found->second;
}

void JobBoard::visitNewestFirst(qel::int64 before, const std::function<bool(const Job&)>& visit) const {
    auto entry = m_order.lower_bound({before, qel::GUID()});
    while (entry != m_order.begin()) {
        --entry;
        if (!visit(m_jobs.at(entry->second))) return;
    }
}

const Job* JobBoard::start() {
    if (m_waiting.empty()) return nullptr;
    Job& job = m_jobs.at(m_waiting.front());
    m_waiting.pop_front();
    job.state = JobState::Running;
    job.progress = 0;
    ++job.attempts;
    m_table->update(job);
    return &job;
}

/// The job if it runs: what a worker says of one that it no longer has doesn't count.
Job* JobBoard::running(const qel::GUID& id) {
    const auto found = m_jobs.find(id);
    return found != m_jobs.end() && found->second.state == JobState::Running ? &found->second : nullptr;
}

void JobBoard::progress(const qel::GUID& id, double progress) {
    if (Job* job = running(id)) job->progress = std::clamp(progress, 0.0, 1.0);
}

void JobBoard::done(const qel::GUID& id, qel::uint64 bytes, const qel::Item& result) {
    Job* job = running(id);
    if (!job) return;
    m_bytes += result.getPlainSize();
    job->result = result;
    job->progress = 1;
    m_statistics->increase("jobs.bytes", bytes);
    end(*job, JobState::Done, "jobs.done");
}

void JobBoard::fail(const qel::GUID& id, const qel::String& error) {
    Job* job = running(id);
    if (!job) return;
    m_bytes += error.size();
    job->error = error;
    qel::logging::warning() << "job " << id.getFantasyName() << " failed: " << error;
    end(*job, JobState::Failed, "jobs.failed");
}

void JobBoard::giveBack(const qel::GUID& id, int mostAttempts) {
    Job* job = running(id);
    if (!job) return;
    m_statistics->increase("jobs.interrupted", 1);
    if (job->attempts >= mostAttempts) {
        fail(id, "lost its worker in each of " + std::to_string(job->attempts) + " attempts");
        return;
    }
    job->state = JobState::Waiting;
    m_waiting.push_front(id);
    m_table->update(*job);
}

void JobBoard::end(Job& job, JobState state, const char* counter) {
    job.state = state;
    m_table->update(job);
    m_statistics->increase(counter, 1);
    ++m_endedCount;
    forgetOldest(m_limits.ended, 0, 1);
}

/// Forgets jobs that have ended, the oldest first, until at most @p count are left and there is room for so
/// many further bytes. @p least of them stay in any case.
void JobBoard::forgetOldest(size_t count, size_t furtherBytes, size_t least) {
    for (auto entry = m_order.begin(); entry != m_order.end() && m_endedCount > least;) {
        if (m_endedCount <= count && m_bytes + furtherBytes <= m_limits.bytes) return;
        const auto job = m_jobs.find((entry++)->second);
        if (!job->second.hasEnded()) continue;
        --m_endedCount;
        erase(job);
    }
}

void JobBoard::erase(qel::Map<qel::GUID, Job>::iterator job) {
    m_table->remove(job->first);
    m_order.erase({job->second.submitted, job->first});
    m_bytes -= sizeOf(job->second);
    m_jobs.erase(job);
}

} // namespace qelserver
