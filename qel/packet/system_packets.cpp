// The streams of packets that belong to the whole process.
#include <qel/packet/std_in_packet_reader.h>
#include <qel/packet/std_out_packet_writer.h>
#include <qel/system/core/system.h>

namespace qel {

StdInPacketReader* System::getStdInPacketReader() {
    if (!m_stdInPacketReader) m_stdInPacketReader = new StdInPacketReader;
    return m_stdInPacketReader.get();
}

StdOutPacketWriter* System::getStdOutPacketWriter() {
    const MutexLock lock(getStdOutMutex());
    if (!m_stdOutPacketWriter) m_stdOutPacketWriter = new StdOutPacketWriter;
    return m_stdOutPacketWriter.get();
}

} // namespace qel
