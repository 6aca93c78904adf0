#include "worker.h"

#include <hosts/jobs/job_packets.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/packet/packet.h>
#include <qel/process/process_packet_reader.h>

#include <utility>

namespace qelserver {

namespace {

constexpr int kLoggedUnknownPackets = 16; // per process

/// Converts a packet to an event. @return false if workers do not send such packets.
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
    case qeljobs::kHeartbeatId:
        out = event::Heartbeat{};
        return packet.fit(qeljobs::heartbeatScheme());
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
    pauseReading(false);
    m_eventBytes = 0;
    return std::exchange(m_events, {});
}

void Worker::onSubprocessStarted() {
    m_unknownPackets = 0;
    getProcess()->getPacketReader()->enableTrimmedLog();
    addEvent(event::Started{getProcess()->getProcessId()}, 0);
}

void Worker::onSubprocessQuit() {
    addEvent(event::Lost{}, 0);
}

void Worker::onPacket(qel::Packet* packet) {
    WorkerEvent event;
    if (eventOf(*packet, event)) {
        addEvent(std::move(event), packet->getPayloadSize());
    } else {
        logUnknown(*packet);
    }
}

void Worker::logUnknown(const qel::Packet& packet) {
    if (++m_unknownPackets > kLoggedUnknownPackets) return;
    qel::logging::warning() << "a worker sent an unknown packet, id=" << packet.getID()
                            << (m_unknownPackets == kLoggedUnknownPackets ? "; no more are reported" : "");
}

void Worker::addEvent(WorkerEvent event, size_t bytes) {
    const qel::MutexLock lock(m_mutex);
    m_events.push_back(std::move(event));
    m_eventBytes += bytes;
    if (m_events.size() >= kMostEvents || m_eventBytes >= kMostEventBytes) pauseReading(true);
}

} // namespace qelserver
