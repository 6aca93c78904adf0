#include "job_table.h"

#include <qel/foundation/log/message_stream.h>
#include <qel/packet/packet.h>
#include <qel/packet/packet_scheme.h>

#include <algorithm>

namespace qelserver {

namespace {

constexpr qel::int64 kMostAttempts = 1'000'000; // a row with more is damaged

/// The scheme of a row. Later formats only add versions.
class JobRowScheme : public qel::PacketScheme {
public:
    JobRowScheme() : PacketScheme(1, "qelserver", nullptr, "JobRow") {
        Table();
        String("kind", kDynamic);
        Item("files", kDynamic);
        Single<qel::int32>("state");
        Single<qel::int32>("attempts");
        Single<qel::int64>("submitted");
        Item("result", kDynamic);
        String("error", kDynamic);
        NextVersion();
        Item("access", kDynamic);
        NextVersion();
    }
};

qel::PacketScheme* rowScheme() {
    static JobRowScheme scheme;
    return &scheme;
}

qel::SmartPointer<qel::Packet> rowOf(const Job& job) {
    qel::SmartPointer<qel::Packet> row(new qel::Packet(rowScheme(), -1));
    qel::Item files;
    for (const qel::String& file : job.files) files.add(file);
    row->setString("kind", job.kind);
    row->setItem("files", files);
    row->setInteger("state", static_cast<int>(job.state));
    row->setInteger("attempts", job.attempts);
    row->setInteger("submitted", job.submitted);
    row->setItem("result", job.result);
    row->setString("error", job.error);
    row->setItem("access", job.access);
    return row;
}

Job jobOf(const qel::GUID& id, const qel::Packet& row) {
    Job job;
    job.id = id;
    job.kind = row.getString("kind");
    const qel::Item files = row.getItem("files");
    qel::String file;
    for (qel::Item::Iterator it = files.getIterator(); it.asString(file);) job.files.push_back(file);
    job.state = static_cast<JobState>(row.getInteger("state"));
    job.attempts = static_cast<int>(std::clamp<qel::int64>(row.getInteger("attempts"), 0, kMostAttempts));
    job.submitted = row.getInteger("submitted");
    job.result = row.getItemCopy("result");
    job.error = row.getString("error");
    job.access = row.getItemCopy("access"); // empty in rows of version 1, which do not name the user
    if (job.state == JobState::Done) job.progress = 1;
    return job;
}

} // namespace

JobTable::JobTable(const qel::Item& root) : Table(root) {
    createTable();
}

void JobTable::put(const Job& job) {
    qel::Item key = getRoot();
    key.addGUID(job.id);
    key.storePacket(rowOf(job).get());
}

void JobTable::remove(const qel::GUID& id) {
    qel::Item key;
    qel::String error;
    if (findEntry(id, key, error)) deleteEntry(key, error);
}

qel::Vector<Job> JobTable::load() {
    qel::Vector<Job> jobs;
    qel::Item key;
    for (bool found = getRoot().child(key); found; found = key.next()) {
        qel::GUID id;
        qel::String error = "its key is not a GUID";
        qel::SmartPointer<qel::Packet> row;
        if (key.trail().getIterator().asGUID(id)) row = createPacketForEntry(id, key, error);
        if (row) {
            jobs.push_back(jobOf(id, *row));
        } else {
            qel::logging::warning() << "job " << key.asString() << " can't be read: " << error;
        }
    }
    return jobs;
}

qel::SmartPointer<qel::Packet> JobTable::createPacketForEntry(const qel::GUID&, const qel::Item& key,
                                                              qel::String& error) {
    qel::SmartPointer<qel::Packet> row(new qel::Packet(rowScheme(), -1));
    if (key.fetchPacket(row.get())) return row;
    error = "the row does not exist or is damaged";
    return nullptr;
}

} // namespace qelserver
