// SortedPacketWriter: queues of packets in the order of keys.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/mutex.h>
#include <qel/packet/deque_packet_writer.h>

namespace qel {

/// Orders the packets of parallel producers. Each producer fills a queue of its own and adds it under a key;
/// one consumer takes the packets key by key.
/// @threads any thread; each operation takes the mutex.
class QEL_API SortedPacketWriter : public Object {
    QEL_CLASS(SortedPacketWriter, Object)

public:
    /// Adds a queue under @p key. If the key has a queue already, the packets move to its end and @p deque is
    /// empty afterwards.
    /// @owner takes a reference to @p deque if the key is new; its producer must then no longer use it.
    void addDeque(uint64 key, DequePacketWriter* deque);
    /// Removes and returns the first packet of the smallest key; null if the writer is empty. A key is
    /// removed with its last packet.
    SmartPointer<Packet> fetch();
    /// Appends a packet to the queue of the greatest key; without any key, the greatest possible key is
    /// created.
    void push_back(Packet* packet);
    /// Prepends a packet to the queue of the smallest key; without any key, key 0 is created.
    void push_front(Packet* packet);

private:
    Mutex m_mutex;
    Map<uint64, SmartPointer<DequePacketWriter>> m_deques QEL_GUARDED_BY(m_mutex);
};

} // namespace qel
