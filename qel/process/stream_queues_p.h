// What waits between a child's streams and the lines that its owner reads and writes.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/string.h>

namespace qel::internal {

/// The bytes that came out of a stream, cut into lines. They stand side by side in memory and are moved to
/// its front only when at least as many have been taken, or when a line needs the room, so that the cost of
/// moving stays in proportion.
class QEL_API LineQueue {
public:
    /// Bytes that it holds before it grows.
    static constexpr size_t kFirstCapacity = 65536;

    /// Where the next bytes of the stream go; empty when there is no room.
    ByteSpan room();
    /// The first @p count bytes of room() have been filled.
    void append(size_t count) { m_end += count; }
    /// Takes the next whole line, without its line feed or carriage return.
    /// @return false when none is there; there is room for more of it then.
    bool takeLine(String& line);
    /// Takes what is left behind the last line end, of a stream that has ended. @return false when nothing.
    bool takeRest(String& line);
    /// Whether all bytes were taken.
    bool empty() const { return m_begin == m_end; }
    /// Whether there is no room before the next takeLine().
    bool isFull() const { return !empty() && m_end == m_bytes.getSize(); }
    /// How many bytes wait to be taken.
    size_t size() const { return m_end - m_begin; }

private:
    char* bytes() { return reinterpret_cast<char*>(m_bytes.getBytePointer()); }
    void noteUnfinishedLine();
    bool dropIfTooLong(size_t length);
    void moveToFront();
    void grow();
    void rest();

    Buffer m_bytes; // its size is the capacity
    size_t m_begin = 0;
    size_t m_scanned = 0; // from the beginning up to here there is no line end
    size_t m_end = 0;
    bool m_isDropping = false; // of a line that was too long, the rest is still to come
};

/// The bytes that wait to go into a stream.
class QEL_API ByteQueue {
public:
    /// Adds bytes at the end.
    void append(ConstByteSpan bytes);
    /// What waits.
    ConstByteSpan waiting() const {
        return {m_bytes.getBytePointer() + m_begin, m_bytes.getSize() - m_begin};
    }
    /// The first @p count bytes have gone.
    void remove(size_t count);
    /// Drops everything.
    void clear();

private:
    Buffer m_bytes;
    size_t m_begin = 0;
};

} // namespace qel::internal
