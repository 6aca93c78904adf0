// FilePacketReader: packets from the records of a file.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/packet/packet_reader.h>
#include <qel/platform/file_system.h>

#include <string_view>

namespace qel {

/// Reads what FilePacketWriter wrote. Payloads are read directly into their packets.
/// @threads one thread at a time.
class QEL_API FilePacketReader : public PacketReader {
    QEL_CLASS(FilePacketReader, PacketReader)

public:
    /// Opens @p path. @errors a file that cannot be opened is logged and yields no packets.
    explicit FilePacketReader(const char* path);

    /// Returns the next record as a raw packet; null at the end, if the file is not open, and for a broken
    /// record. A further call continues after what was read.
    /// @errors each null of an open file is logged, including the one at the end of the file.
    SmartPointer<Packet> read() override;

private:
    bool readFully(uint8* out, size_t size);
    bool fillWindow();

    platform::FileHandle m_file;
    Buffer m_readAhead;        // for small records; large ones are read to their place
    std::string_view m_window; // what is left there
    size_t m_windowSize;       // how far to read ahead; no further than the next head after a large record
};

} // namespace qel
