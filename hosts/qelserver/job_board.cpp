#include "job_board.h"

#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <utility>

namespace qelserver {

namespace {

/// Returns about how many bytes of memory a job takes.
size_t sizeOf(const Job& job) {
    size_t size = sizeof(Job) + job.kind.size() + job.access.getPlainSize() + job.result.getPlainSize() +
                  job.error.size();
    for (const qel::String& file : job.files) size += sizeof(file) + file.size();
    return size;
}

/// Makes one line of an error that may hold what a peer wrote, so that it can't forge lines of the log or
/// control a terminal. What is longer than kLongestErrorBytes is cut.
qel::String asLine(const qel::String& error) {
    const bool isCut = error.size() > JobBoard::kLongestErrorBytes;
    qel::String line;
    for (const qel::uint32 c : qel::String(error.substr(0, JobBoard::kLongestErrorBytes)).utf8_to_unicode()) {
        const bool isControl = c < 0x20 || (c >= 0x7F && c < 0xA0);
        line.utf8_append(isControl ? '?' : c);
    }
    return isCut ? line + "..." : line;
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
    removeOldest(m_limits.ended, bytes, 0);
    if (m_bytes + bytes > m_limits.bytes) {
        qel::logging::warning() << "refused a job: too many jobs wait";
        return {};
    }
    m_bytes += bytes;
    const qel::GUID id = job.id = qel::Object::system()->generateGUID();
    m_changed.insert(id);
    m_new[id] = std::move(job);
    return id;
}

void JobBoard::withdraw(const qel::GUID& id) {
    const auto found = m_new.find(id);
    if (found == m_new.end()) return;
    m_bytes -= sizeOf(found->second);
    m_new.erase(found);
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
    m_changed.insert(job.id);
    return &job;
}

/// Returns the job if it runs, otherwise null. Reports about a job that does not run are ignored.
Job* JobBoard::running(const qel::GUID& id) {
    const auto found = m_jobs.find(id);
    const bool isRunning = found != m_jobs.end() && found->second.state == JobState::Running;
    return isRunning && !m_ended.contains(id) ? &found->second : nullptr;
}

void JobBoard::progress(const qel::GUID& id, double progress) {
    if (Job* job = running(id)) job->progress = std::clamp(progress, 0.0, 1.0);
}

void JobBoard::done(const qel::GUID& id, qel::uint64 bytes, const qel::Item& result) {
    const Job* job = running(id);
    if (!job) return;
    Job ended = *job;
    ended.result = result;
    ended.progress = 1;
    ended.state = JobState::Done;
    m_statistics->increase("jobs.bytes", bytes);
    m_statistics->increase("jobs.done", 1);
    end(std::move(ended));
}

void JobBoard::fail(const qel::GUID& id, const qel::String& error) {
    const Job* job = running(id);
    if (!job) return;
    Job ended = *job;
    ended.error = asLine(error);
    qel::logging::warning() << "job " << id.getFantasyName() << " failed: " << ended.error;
    ended.state = JobState::Failed;
    m_statistics->increase("jobs.failed", 1);
    end(std::move(ended));
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
    m_changed.insert(id);
}

void JobBoard::end(Job ended) {
    m_changed.insert(ended.id);
    m_ended[ended.id] = std::move(ended);
}

// --- storing ---------------------------------------------------------------------------------------------

/// Returns the job as its row must be written; null if it was removed.
const Job* JobBoard::latest(const qel::GUID& id) const {
    for (const auto* jobs : {&m_new, &m_ended, &m_jobs}) {
        const auto found = jobs->find(id);
        if (found != jobs->end()) return &found->second;
    }
    return nullptr;
}

void JobBoard::store() {
    for (const qel::GUID& id : m_changed) {
        if (const Job* job = latest(id))
            m_table->put(*job);
        else
            m_table->remove(id);
    }
}

void JobBoard::settle(bool isStored) {
    if (!isStored) return;
    m_changed.clear();
    for (auto& [id, job] : std::exchange(m_new, {})) {
        m_order.emplace(job.submitted, id);
        m_waiting.push_back(id);
        m_statistics->increase("jobs.submitted", 1);
        m_jobs[id] = std::move(job);
    }
    for (auto& [id, job] : std::exchange(m_ended, {})) publish(std::move(job));
}

void JobBoard::publish(Job ended) {
    Job& job = m_jobs.at(ended.id);
    m_bytes += sizeOf(ended) - sizeOf(job);
    job = std::move(ended);
    ++m_endedCount;
    removeOldest(m_limits.ended, 0, 1);
}

/// Removes jobs that have ended, the oldest first, until at most @p count of them are left and there is room
/// for @p furtherBytes more bytes. At least @p least of them stay in any case.
void JobBoard::removeOldest(size_t count, size_t furtherBytes, size_t least) {
    for (auto entry = m_order.begin(); entry != m_order.end() && m_endedCount > least;) {
        if (m_endedCount <= count && m_bytes + furtherBytes <= m_limits.bytes) return;
        const auto job = m_jobs.find((entry++)->second);
        if (!job->second.hasEnded()) continue;
        --m_endedCount;
        erase(job);
    }
}

void JobBoard::erase(qel::Map<qel::GUID, Job>::iterator job) {
    m_changed.insert(job->first);
    m_order.erase({job->second.submitted, job->first});
    m_bytes -= sizeOf(job->second);
    m_jobs.erase(job);
}

} // namespace qelserver
