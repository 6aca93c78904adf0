#include <qel/packet/file_packet_writer.h>

#include <qel/foundation/base/write_whole.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/system_error.h>

namespace qel {

FilePacketWriter::FilePacketWriter(const char* path) {
    if (const platform::FileError error = platform::openFile(m_file, path, platform::OpenMode::CreateOrEmpty))
        logging::error() << "failed opening packet file '" << path << "'; "
                         << platform::errorText(error.value());
}

void FilePacketWriter::write(Packet* packet) {
    if (!m_file.isOpen()) return;
    const uint32 size = packet->getPayloadSize();
    m_record.resizeExtraReserve(sizeof size + Packet::kHeaderSize + size);
    uint8* const bytes = m_record.getBytePointer();
    std::memcpy(bytes, &size, sizeof size);
    std::memcpy(bytes + sizeof size, packet->rawHeader(), Packet::kHeaderSize);
    packet->copyPayloadTo(bytes + sizeof size + Packet::kHeaderSize);
    const platform::FileError error = writeWhole(m_file, m_record.getConstByteSpan().asText());
    if (!error) return;
    logging::error() << "failed writing packet; " << platform::errorText(error.value());
    close();
}

void FilePacketWriter::close() {
    if (const platform::FileError error = m_file.close(); error)
        logging::error() << "failed closing packet file; " << platform::errorText(error.value());
}

} // namespace qel
