// PacketReader: where packets come from.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/types.h>
#include <qel/packet/packet.h>
#include <qel/platform/api.h>

namespace qel {

/// A source of packets. They come raw: the reader's user chooses the scheme by the id and calls
/// Packet::fit().
/// @threads one thread at a time.
class QEL_API PacketReader : public Object {
    QEL_CLASS(PacketReader, Object)

public:
    /// Whether more packets may come.
    virtual bool valid() { return true; }
    /// The next packet; null when none is available now.
    virtual SmartPointer<Packet> read() = 0;
    /// As read(), for a source that may take long to find a packet among other things.
    /// @param startTime  reading of System::getTime() from which @p timeout counts.
    /// @param timeout    milliseconds after which null is returned; 0 for no limit.
    virtual SmartPointer<Packet> readTimeout(uint32 startTime, uint32 timeout);
};

} // namespace qel
