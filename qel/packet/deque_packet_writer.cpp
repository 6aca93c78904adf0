#include <qel/packet/deque_packet_writer.h>

#include <utility>

namespace qel {

SmartPointer<Packet> DequePacketWriter::fetch() {
    if (m_packets.empty()) return nullptr;
    SmartPointer<Packet> packet = std::move(m_packets.front());
    m_packets.pop_front();
    return packet;
}

void DequePacketWriter::takeAll(DequePacketWriter& other) {
    if (&other != this) m_packets.splice(m_packets.end(), other.m_packets);
}

} // namespace qel
