// ProcessPacketWriter: writes packets to a child's standard input.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/packet/packet_writer.h>
#include <qel/platform/api.h>
#include <qel/process/process.h>

#include <optional>

namespace qel {

/// Sends each packet as a line of text. Created by Process::getPacketWriter().
/// @threads that of its Process.
class QEL_API ProcessPacketWriter : public PacketWriter {
    QEL_CLASS(ProcessPacketWriter, PacketWriter)

public:
    /// Writes to @p process. @owner holds no reference to it.
    explicit ProcessPacketWriter(Process* process) : m_process(process) {}

    /// Returns true if the process exists and its standard input is open.
    bool valid() override { return static_cast<bool>(m_process); }
    /// Queues @p packet for the child. Does nothing if the process does not exist.
    void write(Packet* packet) override;

    /// Sets the port of every packet that is written from now on. The packets themselves are changed.
    void setPort(short port) { m_port = port; }
    /// Keeps the ports of packets unchanged from now on.
    void disablePort() { m_port.reset(); }
    /// Detaches the writer from its process.
    void invalidate() { m_process = nullptr; }

private:
    WeakPointer<Process> m_process;
    std::optional<short> m_port;
};

} // namespace qel
