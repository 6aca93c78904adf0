#include "server_calls.h"

#include "json_rpc_connection.h"

#include <hosts/jobs/file_access.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <array>

namespace qelserver {

namespace {

constexpr qel::int64 kMostLogLines = 10000;
constexpr qel::int64 kDefaultLogLines = 100;
constexpr qel::int64 kMostListedJobs = 1000;
constexpr qel::int64 kDefaultListedJobs = 100;
constexpr size_t kMostFiles = 10000;
constexpr size_t kLongestKindBytes = 64;

/// An element that JSON shows as an object; @p fields holds keys and values in turn.
void addTable(qel::Item& out, const qel::Item& fields) {
    out.addPrefix(qel::Item::kTablePrefix).add(fields);
}

const char* nameOf(JobState state) {
    static constexpr std::array kNames = {"waiting", "running", "done", "failed"};
    const auto index = static_cast<size_t>(state);
    return index < kNames.size() ? kNames[index] : "unknown";
}

/// What a list of jobs tells of each.
qel::Item fieldsOf(const Job& job) {
    qel::Item fields;
    fields.add("id").add(job.id.toString()).add("kind").add(job.kind).add("state").add(nameOf(job.state));
    fields.add("progress").add(job.progress).add("attempts").add(job.attempts);
    return fields.add("files").add(static_cast<qel::int64>(job.files.size())).add("error").add(job.error);
}

/// The number in the next argument, if there is one, brought between 0 and @p most.
qel::int64 readCount(qel::Item::Iterator& args, qel::int64 byDefault, qel::int64 most) {
    qel::int64 count = byDefault;
    args.asInteger(count);
    return std::clamp<qel::int64>(count, 0, most);
}

/// Reads a text; the name of a table's prefix is none.
bool readText(qel::Item::Iterator& args, qel::String& text) {
    return args.getType() == qel::ValueType::String && args.asString(text);
}

bool isKind(const qel::String& kind) {
    return !kind.empty() && kind.size() <= kLongestKindBytes;
}

/// Reads the list of paths: all of them texts, absolute, at least one.
bool readFiles(qel::Item::Iterator& args, qel::Vector<qel::String>& files) {
    qel::Item list;
    if (!args.asSubItem(list)) return false;
    qel::Item::Iterator it = list.getIterator();
    for (qel::String file; readText(it, file);) files.push_back(file);
    return !it.hasNextElement() && !files.empty() && files.size() <= kMostFiles &&
           std::all_of(files.begin(), files.end(),
                       [](const qel::String& file) { return file.starts_with('/'); });
}

/// For whom a call's job uses files: its peer, or the server's own user if the call was made in the process.
qeljobs::FileAccess accessOf(const qel::RpcContext& call) {
    qeljobs::FileAccess access;
    access.user.user = qel::platform::userId();
    if (const auto* peer = dynamic_cast<const JsonRpcConnection*>(call.getCaller()))
        access.user = peer->peer();
    return access;
}

} // namespace

ServerCalls::ServerCalls(qel::RpcProvider& provider, Records& records, JobBoard& jobs,
                         const WorkerPool& workers)
    : m_records(records), m_jobs(jobs), m_workers(workers) {
    const auto add = [&](const char* name, auto method, const char* description, const char* signature) {
        provider.addRPCWithRight(
            name, (std::string("rpc:") + name).c_str(),
            [this, method](const qel::RpcContext& call) { (this->*method)(call); }, description, signature);
    };
    provider.setCategory("Server");
    add("jobs.submit", &ServerCalls::submit, "Have workers do a job.",
        "(String kind, List files, Bool overwrite = false) : String id");
    add("jobs.state", &ServerCalls::state, "How far a job is.", "(String id) : Table job");
    add("jobs.list", &ServerCalls::listJobs, "The last jobs.", "(Integer jobs = 100) : List jobs");
    add("workers.list", &ServerCalls::listWorkers, "All workers.", "() : List workers");
    add("log.query", &ServerCalls::queryLog, "The last lines of the log.",
        "(Integer lines = 100, Bool customers = false) : List lines");
    add("statistics.list", &ServerCalls::listStatistics, "All counters.", "() : Table counters");
    add("server.shutdown", &ServerCalls::shutDown, "Stop the server in order.", "() : Bool success");
    provider.setCategory(nullptr);
}

void ServerCalls::answer() {
    for (const auto& [call, job] : m_unanswered) {
        if (!m_records.isKept(job)) {
            call.result().clear();
            m_jobs.forget(job);
        }
        call.finish();
    }
    m_unanswered.clear();
}

void ServerCalls::submit(const qel::RpcContext& call) {
    qel::String kind;
    qel::Vector<qel::String> files;
    qeljobs::FileAccess access = accessOf(call);
    if (!readText(call.args(), kind) || !isKind(kind) || !readFiles(call.args(), files)) return call.finish();
    call.args().asBool(access.overwrite);
    const qel::GUID id = m_jobs.submit(kind, std::move(files), access.toItem());
    if (!id) return call.finish();
    call.result().add(id.toString());
    m_unanswered.emplace_back(call, id);
}

void ServerCalls::state(const qel::RpcContext& call) const {
    qel::String id;
    const Job* job = call.args().asString(id) ? m_jobs.find(qel::GUID::fromString(id)) : nullptr;
    if (job) {
        qel::Item fields = fieldsOf(*job).add("result");
        job->result.empty() ? fields.addNIL() : fields.concatItem(job->result);
        addTable(call.result(), fields);
    }
    call.finish();
}

void ServerCalls::listJobs(const qel::RpcContext& call) const {
    const auto count = static_cast<size_t>(readCount(call.args(), kDefaultListedJobs, kMostListedJobs));
    qel::Item list;
    m_jobs.visitLast(count, [&list](const Job& job) { addTable(list, fieldsOf(job)); });
    call.result().add(list);
    call.finish();
}

void ServerCalls::listWorkers(const qel::RpcContext& call) const {
    qel::Item list;
    for (const WorkerPool::Seat& seat : m_workers.seats()) {
        qel::Item fields;
        fields.add("pid").add(seat.pid).add("restarts").add(seat.restarts);
        addTable(list, fields.add("job").add(seat.job ? seat.job.toString() : qel::String()));
    }
    call.result().add(list);
    call.finish();
}

void ServerCalls::queryLog(const qel::RpcContext& call) const {
    const qel::int64 lines = readCount(call.args(), kDefaultLogLines, kMostLogLines);
    bool customers = false;
    call.args().asBool(customers);
    qel::LogDB& log = m_records.log(customers ? LogChannel::Customer : LogChannel::Technical);
    qel::Item list;
    for (qel::int64 n = std::max(log.getEnd() - lines, log.getBegin()); n < log.getEnd(); ++n) {
        const qel::Item* line = qel::Item(log.getData()).add(n).fetch();
        if (!line) continue;
        qel::Item::Iterator it = line->getIterator();
        qel::String text;
        if (it.skip(1) && it.asString(text)) list.add(text);
    }
    call.result().add(list);
    call.finish();
}

void ServerCalls::listStatistics(const qel::RpcContext& call) const {
    qel::Item fields;
    const qel::Item root = m_records.statisticsKey();
    qel::Item key;
    for (bool found = root.child(key); found; found = key.next()) {
        const qel::Item* count = key.fetch();
        if (count) fields.concatItem(key.trail()).concatItem(*count);
    }
    addTable(call.result(), fields);
    call.finish();
}

void ServerCalls::shutDown(const qel::RpcContext& call) const {
    call.result().addTrue();
    call.finish();
    qel::System::setHitSIGINT(true);
}

} // namespace qelserver
