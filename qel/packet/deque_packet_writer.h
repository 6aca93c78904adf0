// DequePacketWriter: a queue of packets in memory.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/packet/packet_writer.h>

namespace qel {

/// Queues packets between a producer and a consumer.
/// @threads no lock: one thread at a time, or under the owner's lock.
class QEL_API DequePacketWriter : public PacketWriter {
    QEL_CLASS(DequePacketWriter, PacketWriter)

public:
    /// Appends a packet. @owner takes a reference.
    void write(Packet* packet) override { m_packets.emplace_back(packet); }
    /// Prepends a packet. @owner takes a reference.
    void push_front(Packet* packet) { m_packets.emplace_front(packet); }
    /// Removes and returns the first packet; null if the writer is empty.
    SmartPointer<Packet> fetch();
    /// Moves all packets of @p other, in their order, to the end.
    void takeAll(DequePacketWriter& other);
    /// Returns the number of packets.
    size_t getCount() const { return m_packets.size(); }

private:
    List<SmartPointer<Packet>> m_packets;
};

} // namespace qel
