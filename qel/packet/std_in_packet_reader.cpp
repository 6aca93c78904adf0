#include <qel/packet/std_in_packet_reader.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/packet/line_input_p.h>

namespace qel {

StdInPacketReader::StdInPacketReader() : m_input(internal::LineInput::standardInput()) {}

bool StdInPacketReader::hasFailed() const {
    return m_input.hasFailed();
}

SmartPointer<Packet> StdInPacketReader::read() {
    if (m_input.hasEnded()) m_isAtEnd = true;
    if (m_isAtEnd) return nullptr;
    String line;
    if (!(m_isBlocking ? m_input.waitForLine(line) : m_input.tryLine(line)) || line.empty()) return nullptr;
    SmartPointer<Packet> packet = Packet::createFromBase16String(line);
    if (!packet) logging::info() << "[STDINPACKET] " << line;
    return packet;
}

void StdInPacketReader::waitForInput(unsigned timeoutMs) {
    if (!m_isBlocking && !m_isAtEnd) m_input.waitForChange(timeoutMs);
}

void StdInPacketReader::disableBlocking() {
    if (!m_isBlocking) return;
    m_input.startThread();
    m_isBlocking = false;
}

} // namespace qel
