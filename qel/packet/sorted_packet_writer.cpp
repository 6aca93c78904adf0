#include <qel/packet/sorted_packet_writer.h>

#include <limits>

namespace qel {

void SortedPacketWriter::addDeque(uint64 key, DequePacketWriter* deque) {
    const MutexLock lock(m_mutex);
    const auto [place, isNew] = m_deques.try_emplace(key, deque);
    if (!isNew) place->second->takeAll(*deque);
}

// A queue may be empty when it is passed in; its key is then removed by the next call.
SmartPointer<Packet> SortedPacketWriter::fetch() {
    const MutexLock lock(m_mutex);
    const auto first = m_deques.begin();
    if (first == m_deques.end()) return nullptr;
    SmartPointer<Packet> packet = first->second->fetch();
    if (first->second->getCount() == 0) m_deques.erase(first);
    return packet;
}

void SortedPacketWriter::push_back(Packet* packet) {
    const MutexLock lock(m_mutex);
    if (m_deques.empty()) m_deques.try_emplace(std::numeric_limits<uint64>::max(), new DequePacketWriter);
    m_deques.rbegin()->second->write(packet);
}

void SortedPacketWriter::push_front(Packet* packet) {
    const MutexLock lock(m_mutex);
    if (m_deques.empty()) m_deques.try_emplace(0, new DequePacketWriter);
    m_deques.begin()->second->push_front(packet);
}

} // namespace qel
