// PacketWriter: where packets go to.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/packet/packet.h>
#include <qel/platform/api.h>

namespace qel {

/// A sink of packets.
class QEL_API PacketWriter : public Object {
    QEL_CLASS(PacketWriter, Object)

public:
    /// Returns true if packets can still be delivered.
    virtual bool valid() { return true; }
    /// Writes a packet. There is no result.
    /// @owner a writer that queues takes a reference, so the packet must be one that a SmartPointer may
    ///        delete.
    virtual void write(Packet* packet) = 0;
};

} // namespace qel
