#include <qel/packet/packet_reader.h>

namespace qel {

SmartPointer<Packet> PacketReader::readTimeout(uint32, uint32) {
    return read();
}

} // namespace qel
