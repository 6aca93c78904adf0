// StdInPacketReader: packets from the lines of this process's standard input.
#pragma once

#include <qel/packet/packet_reader.h>

namespace qel {

namespace internal {
class LineInput;
}

/// Reads packets from lines of text. Other lines are logged, so that text which gets there by mistake can be
/// seen. It waits for lines, unless told not to.
///
/// What was read ahead belongs to the process: a later reader goes on with it.
/// @threads one thread at a time. Without waiting, one helper thread of the process reads standard input.
class QEL_API StdInPacketReader : public PacketReader {
    QEL_CLASS(StdInPacketReader, PacketReader)

public:
    /// Reads standard input.
    StdInPacketReader();
    /// Reads another source of lines, which must outlive it.
    explicit StdInPacketReader(internal::LineInput& input) : m_input(input) {}

    /// False once read() has found that there will be no more lines.
    bool valid() override { return !m_isAtEnd; }
    /// The packet in the next line; null when the line holds none, and when there is no line.
    /// @errors a line that holds no packet is logged.
    SmartPointer<Packet> read() override;
    /// From now on read() returns at once when no line is there. There is no way back.
    void disableBlocking();

private:
    internal::LineInput& m_input;
    bool m_isAtEnd = false;
    bool m_isBlocking = true;
};

} // namespace qel
