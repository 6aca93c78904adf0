#include "server_calls.h"

#include "json_rpc_connection.h"

#include <hosts/jobs/file_access.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <utility>

namespace qelserver {

namespace {

constexpr qel::int64 kMostLogLines = 1000;
constexpr qel::int64 kDefaultLogLines = 100;
constexpr qel::int64 kMostListedJobs = 1000;
constexpr qel::int64 kDefaultListedJobs = 100;
constexpr size_t kMostFiles = 10000;
constexpr size_t kLongestKindBytes = 64;
constexpr size_t kLongestPathBytes = 4096;     // the system opens no longer ones
constexpr size_t kLongestLineBytes = 8 * 1024; // of a log line in a reply
constexpr size_t kPageBytes = 128 * 1024;      // of rows in one reply; their JSON may be six times as long

/// Adds an element that JSON shows as an object. @param fields  alternating keys and values.
void addTable(qel::Item& out, const qel::Item& fields) {
    out.addPrefix(qel::Item::kTablePrefix).add(fields);
}

const char* nameOf(JobState state) {
    static constexpr std::array kNames = {"waiting", "running", "done", "failed"};
    const auto index = static_cast<size_t>(state);
    return index < kNames.size() ? kNames[index] : "unknown";
}

/// Returns @p text, cut off after @p mostBytes bytes if it is longer.
qel::String shortened(const qel::String& text, size_t mostBytes) {
    return text.size() <= mostBytes ? text : qel::String(text.substr(0, mostBytes)).utf8_fix() + "...";
}

/// The rows of a list that fit into one reply.
class Page {
public:
    /// @param mostRows  the number of rows that the call asks for.
    explicit Page(qel::int64 mostRows) : m_mostRows(static_cast<size_t>(mostRows)) {}

    /// Returns true if another row may be added.
    bool hasRoom() const { return m_rows.size() < m_mostRows && m_bytes < kPageBytes; }
    void add(qel::Item row) {
        m_bytes += row.getPlainSize();
        m_rows.push_back(std::move(row));
    }
    /// Returns the rows in the order of add().
    qel::Item list() const { return joined(m_rows.begin(), m_rows.end()); }
    /// Returns the rows in the reverse order of add().
    qel::Item reversedList() const { return joined(m_rows.rbegin(), m_rows.rend()); }

private:
    template <class It>
    static qel::Item joined(It row, It end) {
        qel::Item list;
        for (; row != end; ++row) list.concatItem(*row);
        return list;
    }

    const size_t m_mostRows;
    size_t m_bytes = 0;
    qel::Vector<qel::Item> m_rows;
};

/// Returns the keys and values that a list of jobs shows of each job.
qel::Item fieldsOf(const Job& job) {
    qel::Item fields;
    fields.add("id").add(job.id.toString()).add("kind").add(job.kind).add("state").add(nameOf(job.state));
    fields.add("progress").add(job.progress).add("attempts").add(job.attempts);
    return fields.add("files")
        .add(static_cast<qel::int64>(job.files.size()))
        .add("error")
        .add(shortened(job.error, JobBoard::kLongestErrorBytes));
}

/// Adds "result", the rows of a job's result from number @p first on, and "next", the number of the row to
/// continue with, or null if there are no more rows.
void addResult(qel::Item& fields, const qel::Item& result, qel::int64 first) {
    qel::Item rows;
    result.getIterator().asSubItem(rows);
    Page page(std::numeric_limits<qel::int64>::max());
    qel::Item::Iterator it = rows.getIterator();
    qel::int64 number = 0;
    for (; it.hasNextElement() && page.hasRoom(); ++number) {
        const auto begin = it.getOffset();
        it.skip(it.getType() == qel::ValueType::Prefix ? 2 : 1);
        const auto size = static_cast<size_t>(it.getOffset() - begin);
        if (number >= first)
            page.add(qel::Item(qel::Item::PlainMode, rows.getPlainBytePointer() + begin, size));
    }
    fields.add("result").add(page.list()).add("next");
    it.hasNextElement() ? fields.add(number) : fields.addNIL();
}

/// Reads an integer argument and clamps it to 0 to @p most. @return @p byDefault if the next argument is not
/// an integer.
qel::int64 readCount(qel::Item::Iterator& args, qel::int64 byDefault, qel::int64 most) {
    qel::int64 count = byDefault;
    args.asInteger(count);
    return std::clamp<qel::int64>(count, 0, most);
}

bool readNumber(const qel::String& text, qel::int64& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

/// Reads a string argument; the name of a table's prefix does not count as one.
bool readText(qel::Item::Iterator& args, qel::String& text) {
    return args.getType() == qel::ValueType::String && args.asString(text);
}

bool isKind(const qel::String& kind) {
    return !kind.empty() && kind.size() <= kLongestKindBytes;
}

bool isPath(const qel::String& file) {
    return file.starts_with('/') && file.size() <= kLongestPathBytes;
}

/// Reads a list of paths. @return false unless there are 1 to kMostFiles, all of them absolute and not too
/// long.
bool readFiles(qel::Item::Iterator& args, qel::Vector<qel::String>& files) {
    qel::Item list;
    if (!args.asSubItem(list)) return false;
    qel::Item::Iterator it = list.getIterator();
    for (qel::String file; readText(it, file);) files.push_back(file);
    return !it.hasNextElement() && !files.empty() && files.size() <= kMostFiles &&
           std::all_of(files.begin(), files.end(), &isPath);
}

/// Returns the access of a call's job to files: that of the peer's user, or that of the server's own user for
/// a call from inside the process.
qeljobs::FileAccess accessOf(const qel::RpcContext& call) {
    qeljobs::FileAccess access;
    access.user.user = qel::platform::userId();
    if (const auto* peer = dynamic_cast<const JsonRpcConnection*>(call.getCaller()))
        access.user = peer->peer();
    return access;
}

} // namespace

ServerCalls::ServerCalls(JsonRpcServer& server, Records& records, JobBoard& jobs, const WorkerPool& workers)
    : m_server(server), m_records(records), m_jobs(jobs), m_workers(workers) {
    const auto add = [&](const char* name, auto method, const char* description, const char* signature) {
        server.addRPCWithRight(
            name, (std::string("rpc:") + name).c_str(),
            [this, method](const qel::RpcContext& call) { (this->*method)(call); }, description, signature);
    };
    server.setCategory("Server");
    add("jobs.submit", &ServerCalls::submit, "Submit a job to the workers.",
        "(String kind, List files, Bool overwrite = false) : String id");
    add("jobs.state", &ServerCalls::state, "State and result of a job.",
        "(String id, Integer firstRow = 0) : Table job");
    add("jobs.list", &ServerCalls::listJobs, "The latest jobs.",
        "(Integer jobs = 100, String before = newest) : Table jobs, next");
    add("workers.list", &ServerCalls::listWorkers, "All workers.", "() : List workers");
    add("log.query", &ServerCalls::queryLog, "The latest lines of the log.",
        "(Integer lines = 100, Bool customers = false, Integer before = end) : Table lines, next");
    add("statistics.list", &ServerCalls::listStatistics, "All counters.", "() : Table counters");
    add("server.shutdown", &ServerCalls::shutDown, "Stop the server in order.", "() : Bool success");
    server.setCategory(nullptr);
}

void ServerCalls::finishSubmissions() {
    for (const auto& [context, call, job] : m_submissions) {
        if (!m_jobs.find(job)) {
            m_jobs.withdraw(job);
            context.result().clear();
            if (call) call->fail(JsonRpcError::NotStored);
        }
        context.finish();
    }
    m_submissions.clear();
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
    m_submissions.push_back({call, m_server.runningCall(), id});
}

void ServerCalls::state(const qel::RpcContext& call) const {
    qel::String id;
    const Job* job = call.args().asString(id) ? m_jobs.find(qel::GUID::fromString(id)) : nullptr;
    if (job) {
        qel::Item fields = fieldsOf(*job);
        if (job->result.empty()) {
            fields.add("result").addNIL().add("next").addNIL();
        } else {
            addResult(fields, job->result, readCount(call.args(), 0, kMostFiles));
        }
        addTable(call.result(), fields);
    }
    call.finish();
}

void ServerCalls::listJobs(const qel::RpcContext& call) const {
    Page page(readCount(call.args(), kDefaultListedJobs, kMostListedJobs));
    qel::String text;
    qel::int64 next = std::numeric_limits<qel::int64>::max();
    if (call.args().asString(text) && !readNumber(text, next)) return call.finish();
    bool hasMore = false;
    m_jobs.visitNewestFirst(next, [&](const Job& job) {
        hasMore = !page.hasRoom();
        if (hasMore) return false;
        qel::Item row;
        addTable(row, fieldsOf(job));
        page.add(row);
        next = job.submitted;
        return true;
    });
    qel::Item fields;
    fields.add("jobs").add(page.reversedList()).add("next");
    hasMore ? fields.add(std::to_string(next)) : fields.addNIL();
    addTable(call.result(), fields);
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
    const qel::int64 first = std::max<qel::int64>(log.getBegin(), 0);
    qel::int64 number = log.getEnd();
    call.args().asInteger(number);
    number = std::clamp(number, first, std::max(first, log.getEnd()));
    Page page(lines);
    for (const qel::int64 last = std::max(first, number - lines); number > last && page.hasRoom();) {
        const qel::Item* line = qel::Item(log.getData()).add(--number).fetch();
        if (!line) continue;
        qel::Item::Iterator it = line->getIterator();
        qel::String text;
        if (it.skip(1) && it.asString(text)) page.add(qel::Item(shortened(text, kLongestLineBytes)));
    }
    qel::Item fields;
    fields.add("lines").add(page.reversedList()).add("next");
    number > first ? fields.add(number) : fields.addNIL();
    addTable(call.result(), fields);
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
