#include "worker.h"

#include <hosts/jobs/job_packets.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/packet/packet.h>

#include <utility>

namespace qelserver {

namespace {

/// Turns a worker's packet into an event. @return false for one that is none.
bool eventOf(qel::Packet& packet, WorkerEvent& out) {
    switch (packet.getID()) {
    case qeljobs::kProgressId: {
        if (!packet.fit(qeljobs::progressScheme())) return false;
        const auto done = static_cast<double>(packet.getInteger("done"));
        const auto total = static_cast<double>(packet.getInteger("total"));
        out = event::Progress{packet.get<qel::GUID>("id"), static_cast<int>(packet.getInteger("attempt")),
                              total > 0 ? done / total : 0};
        return true;
    }
    case qeljobs::kResultId:
        if (!packet.fit(qeljobs::resultScheme())) return false;
        out = event::Done{packet.get<qel::GUID>("id"), static_cast<int>(packet.getInteger("attempt")),
                          static_cast<qel::uint64>(packet.getInteger("bytes")), packet.getItemCopy("result")};
        return true;
    case qeljobs::kFailureId:
        if (!packet.fit(qeljobs::failureScheme())) return false;
        out = event::Failed{packet.get<qel::GUID>("id"), static_cast<int>(packet.getInteger("attempt")),
                            packet.getString("error")};
        return true;
    default:
        return false;
    }
}

} // namespace

void Worker::assign(const Job& job, const qel::Item& access) {
    qel::SmartPointer<qel::Packet> packet(new qel::Packet(qeljobs::jobScheme(), 0));
    qel::Item files;
    for (const qel::String& file : job.files) files.add(file);
    packet->set("id", job.id);
    packet->setInteger("attempt", job.attempts);
    packet->setString("kind", job.kind);
    packet->setItem("files", files);
    packet->setItem("access", access);
    enqueuePacket(packet.get());
}

qel::Vector<WorkerEvent> Worker::takeEvents() {
    const qel::MutexLock lock(m_mutex);
    return std::exchange(m_events, {});
}

void Worker::onSubprocessStarted() {
    note(event::Started{getProcess()->getProcessId()});
}

void Worker::onSubprocessQuit() {
    note(event::Lost{});
}

void Worker::onPacket(qel::Packet* packet) {
    WorkerEvent event;
    if (eventOf(*packet, event)) {
        note(std::move(event));
    } else {
        qel::logging::warning() << "a worker sent a packet that no one knows, id=" << packet->getID();
    }
}

void Worker::note(WorkerEvent event) {
    const qel::MutexLock lock(m_mutex);
    m_events.push_back(std::move(event));
}

} // namespace qelserver
