// FilePacketReader: packets from the records of a file.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/packet/packet_reader.h>
#include <qel/platform/file_system.h>

#include <string_view>

namespace qel {

/// Reads what FilePacketWriter wrote. Payloads are read to their place at once.
/// @threads one thread at a time.
class QEL_API FilePacketReader : public PacketReader {
    QEL_CLASS(FilePacketReader, PacketReader)

public:
    /// Opens @p path. @errors a file that can't be opened gives no packets.
    explicit FilePacketReader(const char* path);

    /// The next record as a raw packet; null at the end, for a file that isn't open, and for a broken record.
    /// A further call goes on behind what was read.
    /// @errors each null of an open file is logged, the end of the file too.
    SmartPointer<Packet> read() override;

private:
    bool readFully(uint8* out, size_t size);
    bool fillWindow();

    platform::FileHandle m_file;
    Buffer m_readAhead;        // for small records; large ones are read to their place
    std::string_view m_window; // what is left there
};

} // namespace qel
