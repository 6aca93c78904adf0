// SortedPacketWriter: queues of packets in the order of keys.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/mutex.h>
#include <qel/packet/deque_packet_writer.h>

namespace qel {

/// Brings what parallel producers make into an order: each fills a queue of its own and hands it over under a
/// key; one consumer takes the packets key by key.
/// @threads any thread; each operation takes the mutex.
class QEL_API SortedPacketWriter : public Object {
    QEL_CLASS(SortedPacketWriter, Object)

public:
    /// Hands a queue over under @p key. Where the key has a queue, the packets move to its end and @p deque
    /// is empty afterwards.
    /// @owner takes a reference to @p deque when the key is new; its producer is then through with it.
    void addDeque(uint64 key, DequePacketWriter* deque);
    /// Takes out the first packet of the smallest key; null when there is none. A key goes with its last
    /// packet.
    SmartPointer<Packet> fetch();
    /// Puts a packet at the end of the queue of the greatest key; the first of all makes the greatest key
    /// there can be.
    void push_back(Packet* packet);
    /// Puts a packet at the beginning of the queue of the smallest key; the first of all makes key 0.
    void push_front(Packet* packet);

private:
    Mutex m_mutex;
    Map<uint64, SmartPointer<DequePacketWriter>> m_deques QEL_GUARDED_BY(m_mutex);
};

} // namespace qel
