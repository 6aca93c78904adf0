// ProcessPacketWriter: packets to a child's standard input.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/packet/packet_writer.h>
#include <qel/platform/api.h>
#include <qel/process/process.h>

#include <optional>

namespace qel {

/// Sends each packet as a line of text. Made by Process::getPacketWriter().
/// @threads that of its Process.
class QEL_API ProcessPacketWriter : public PacketWriter {
    QEL_CLASS(ProcessPacketWriter, PacketWriter)

public:
    /// Writes to @p process, of which it takes no reference.
    explicit ProcessPacketWriter(Process* process) : m_process(process) {}

    /// Whether there is a process with an open standard input.
    bool valid() override { return static_cast<bool>(m_process); }
    /// Queues @p packet for the child; without a process does nothing.
    void write(Packet* packet) override;

    /// Every packet gets this port before it goes out; the change stays in the packet.
    void setPort(short port) { m_port = port; }
    /// Packets keep their ports from now on.
    void disablePort() { m_port.reset(); }
    /// Forgets the process.
    void invalidate() { m_process = nullptr; }

private:
    WeakPointer<Process> m_process;
    std::optional<short> m_port;
};

} // namespace qel
