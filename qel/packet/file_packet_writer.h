// FilePacketWriter: packets as records of a file.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/packet/packet_writer.h>
#include <qel/platform/file_system.h>

namespace qel {

/// Writes each packet as one record: payload size, header, payload.
/// @threads one thread at a time.
class QEL_API FilePacketWriter : public PacketWriter {
    QEL_CLASS(FilePacketWriter, PacketWriter)

public:
    /// Opens @p path and truncates it. @errors a file that cannot be opened is logged; its packets are
    /// dropped.
    explicit FilePacketWriter(const char* path);
    ~FilePacketWriter() override { close(); }

    /// Writes a record with one call. @errors a failed write is logged and closes the file, since what would
    /// follow could not be read.
    void write(Packet* packet) override;
    /// Closes the file, as the destructor does. @errors logged.
    void close();

private:
    platform::FileHandle m_file;
    Buffer m_record;
};

} // namespace qel
