// PacketReader: where packets come from.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/types.h>
#include <qel/packet/packet.h>
#include <qel/platform/api.h>

namespace qel {

/// A source of raw packets. The caller chooses the scheme by the id and calls Packet::fit().
/// @threads one thread at a time.
class QEL_API PacketReader : public Object {
    QEL_CLASS(PacketReader, Object)

public:
    /// Returns true if more packets may come.
    virtual bool valid() { return true; }
    /// Returns the next packet; null if none is available at the moment.
    virtual SmartPointer<Packet> read() = 0;
    /// Like read(), for a source that may take long to find a packet among other data.
    /// @param startTime  the value of System::getTime() from which @p timeout counts.
    /// @param timeout    milliseconds after which null is returned; 0 for no limit.
    virtual SmartPointer<Packet> readTimeout(uint32 startTime, uint32 timeout);
};

} // namespace qel
