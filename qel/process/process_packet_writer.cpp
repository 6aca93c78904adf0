#include <qel/process/process_packet_writer.h>

namespace qel {

void ProcessPacketWriter::write(Packet* packet) {
    if (!m_process) return;
    if (m_port) packet->setPort(*m_port);
    m_process->writeLine(packet->convertToBase16String());
}

} // namespace qel
