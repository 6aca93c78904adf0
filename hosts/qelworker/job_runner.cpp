#include "job_runner.h"

#include "file_work.h"

#include <hosts/jobs/job_packets.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/packet/std_out_packet_writer.h>
#include <qel/store/core/item_iterator.h>
#include <qel/system/core/system.h>

#include <optional>

namespace qelworker {

namespace {

constexpr qel::uint32 kReportPauseMs = 100;

qel::SmartPointer<qel::Packet> newPacket(const qel::PacketScheme* scheme) {
    return new qel::Packet(scheme, 0);
}

/// Returns the size of a file; 0 if the job must not use it.
qel::uint64 sizeOf(const qel::String& path, const qeljobs::FileAccess& access) {
    JobFile file;
    return file.open(path, access).empty() ? file.size() : 0;
}

} // namespace

/// The progress of a job, which is reported to the server.
class JobRunner::Progress {
public:
    Progress(const Job& job, const qel::TaskContext& context, StepWatch& steps)
        : m_job(job), m_context(context), m_steps(steps) {
        m_steps.step(qel::Object::system()->getTime());
        if (job.access) {
            for (const qel::String& file : job.files) m_total += sizeOf(file, *job.access);
        }
        report();
    }
    ~Progress() { m_steps.end(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    bool advance(qel::uint64 bytes) {
        const qel::uint32 now = qel::Object::system()->getTime();
        m_done += bytes;
        m_steps.step(now);
        if (now - m_lastReport >= kReportPauseMs) report();
        return !isStopping();
    }
    bool isStopping() const { return m_context.isAborting(); }
    qel::uint64 done() const { return m_done; }

private:
    void report() {
        m_lastReport = qel::Object::system()->getTime();
        const auto packet = newPacket(qeljobs::progressScheme());
        packet->set("done", m_done);
        packet->set("total", m_total);
        sendReport(m_job, *packet);
    }

    const Job& m_job;
    const qel::TaskContext& m_context;
    StepWatch& m_steps;
    qel::uint64 m_total = 0;
    qel::uint64 m_done = 0;
    qel::uint32 m_lastReport = 0;
};

void JobRunner::enqueueJob(qel::Packet& packet) {
    if (packet.getID() != qeljobs::kJobId) {
        qel::logging::warning() << "ignored a packet of id " << packet.getID();
        return;
    }
    if (!packet.fit(qeljobs::jobScheme())) return; // logged
    Job job{packet.get<qel::GUID>("id"), packet.get<qel::int32>("attempt"), packet.getString("kind"), {}, {}};
    const qel::Item files = packet.getItem("files");
    qel::Item::Iterator it = files.getIterator();
    for (qel::String file; it.asString(file);) job.files.push_back(file);
    job.access = qeljobs::FileAccess::fromItem(packet.getItem("access"));
    auto doJob = [this, job](qel::TaskContext& context) { run(job, context); };
    m_queue.pushTask(new qel::TaskQueue::LambdaTask<decltype(doJob)>(std::move(doJob)), 0);
}

void JobRunner::run(const Job& job, const qel::TaskContext& context) {
    Progress progress(job, context, m_steps);
    qel::Item result;
    const qel::String error = processFiles(job, progress, result);
    if (progress.isStopping()) return;
    const auto packet = newPacket(error.empty() ? qeljobs::resultScheme() : qeljobs::failureScheme());
    if (error.empty()) {
        packet->set("bytes", progress.done());
        packet->setItem("result", result);
    } else {
        packet->setString("error", error);
    }
    sendReport(job, *packet);
}

/// Adds a list of tables to @p result, one for each file. @return why the job failed; empty if it is done.
qel::String JobRunner::processFiles(const Job& job, Progress& progress, qel::Item& result) {
    const FileWork workOnFile = workOfKind(job.kind);
    if (!workOnFile) return "unknown kind of job '" + job.kind + "'";
    if (job.files.empty()) return "the job has no files";
    if (!job.access) return "the job names no user";
    const size_t list = result.openSubItem();
    for (const qel::String& file : job.files) {
        JobFile opened;
        if (const qel::String problem = opened.open(file, *job.access); !problem.empty()) return problem;
        qel::Item fields;
        fields.add("file").add(file);
        const qel::uint64 before = progress.done();
        const auto advance = [&progress](qel::uint64 bytes) { return progress.advance(bytes); };
        const qel::String error = workOnFile(file, opened, advance, fields);
        if (!error.empty()) return error;
        fields.add("bytes").add(progress.done() - before);
        result.addPrefix(qel::Item::kTablePrefix).add(fields);
    }
    result.closeSubItem(list);
    return {};
}

void JobRunner::sendReport(const Job& job, qel::Packet& packet) {
    packet.set("id", job.id);
    packet.set("attempt", job.attempt);
    qel::Object::system()->getStdOutPacketWriter()->write(&packet);
}

} // namespace qelworker
