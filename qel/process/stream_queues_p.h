// Queues between the streams of a child and the lines that its owner reads and writes.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/string.h>

namespace qel::internal {

/// The bytes that were read from a stream, split into lines. The bytes are contiguous. They are moved to the
/// front only when at least as many bytes have been taken, or when a line needs the space, so that the cost
/// of moving stays proportional to the input.
class QEL_API LineQueue {
public:
    /// The initial capacity in bytes.
    static constexpr size_t kFirstCapacity = 65536;

    /// Returns the space for the next bytes of the stream; empty if there is none.
    ByteSpan room();
    /// Adds the first @p count bytes of room(), which the caller has filled.
    void append(size_t count) { m_end += count; }
    /// Takes the next complete line, without its line feed or carriage return.
    /// @return false if there is none; room() is not empty then.
    bool takeLine(String& line);
    /// Takes the bytes after the last line end of a stream that has ended. @return false if there are none.
    bool takeRest(String& line);
    /// Returns true if all bytes were taken.
    bool empty() const { return m_begin == m_end; }
    /// Returns true if there is no room until the next takeLine().
    bool isFull() const { return !empty() && m_end == m_bytes.getSize(); }
    /// Returns the number of bytes that were not taken yet.
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
    size_t m_scanned = 0; // there is no line end between m_begin and here
    size_t m_end = 0;
    bool m_isDropping = false; // true until the end of a line that was too long
};

/// The bytes that have not been written to a stream yet.
class QEL_API ByteQueue {
public:
    /// Adds bytes at the end.
    void append(ConstByteSpan bytes);
    /// Returns the bytes that are not written yet.
    ConstByteSpan waiting() const {
        return {m_bytes.getBytePointer() + m_begin, m_bytes.getSize() - m_begin};
    }
    /// Removes the first @p count bytes, which were written.
    void remove(size_t count);
    /// Drops everything.
    void clear();

private:
    Buffer m_bytes;
    size_t m_begin = 0;
};

} // namespace qel::internal
