// StdInPacketReader: packets from the lines of this process's standard input.
#pragma once

#include <qel/packet/packet_reader.h>

namespace qel {

namespace internal {
class LineInput;
}

/// Reads packets from lines of text. Other lines are logged, so that text which arrives by mistake can be
/// seen. Reading blocks until disableBlocking() is called.
///
/// Lines that were read ahead belong to the process; a later reader continues with them.
/// @threads one thread at a time. After disableBlocking() a helper thread reads standard input.
class QEL_API StdInPacketReader : public PacketReader {
    QEL_CLASS(StdInPacketReader, PacketReader)

public:
    /// Creates a reader of standard input.
    StdInPacketReader();
    /// Creates a reader of another source of lines, which must outlive it.
    explicit StdInPacketReader(internal::LineInput& input) : m_input(input) {}

    /// Returns false once read() has found that no more lines will come.
    bool valid() override { return !m_isAtEnd; }
    /// Returns true if no more lines will come because the input could not be read. @errors logged.
    bool hasFailed() const;
    /// Returns the packet in the next line; null if the line holds none, and if there is no line.
    /// @errors a line without a packet is logged.
    SmartPointer<Packet> read() override;
    /// Makes read() return at once if there is no line. This cannot be undone.
    /// @errors throws std::system_error if the helper thread can't be started; reading then still blocks.
    void disableBlocking();
    /// Waits until read() has something to do or valid() may change, or until @p timeoutMs milliseconds have
    /// passed. Without disableBlocking() it returns at once.
    void waitForInput(unsigned timeoutMs);

private:
    internal::LineInput& m_input;
    bool m_isAtEnd = false;
    bool m_isBlocking = true;
};

} // namespace qel
