// StdOutPacketWriter: packets as lines of this process's standard output.
#pragma once

#include <qel/packet/packet_writer.h>

#include <optional>

namespace qel {

/// Writes each packet as a line of text to standard output, between its other lines.
class QEL_API StdOutPacketWriter : public PacketWriter {
    QEL_CLASS(StdOutPacketWriter, PacketWriter)

public:
    /// Sends every packet from now on to @p port, which is set in the packet itself.
    void setPort(short port) { m_port = port; }
    /// Stops changing the port of packets.
    void disablePort() { m_port.reset(); }
    /// Writes the whole packet while it holds System::getStdOutMutex(). @threads any thread.
    /// @errors a failed write is logged.
    void write(Packet* packet) override;

private:
    std::optional<short> m_port;
};

} // namespace qel
