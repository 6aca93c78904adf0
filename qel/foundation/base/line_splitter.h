// LineSplitter: the lines of a stream whose bytes arrive in pieces of any size.
#pragma once

#include <qel/foundation/base/buffer.h>

#include <string_view>

namespace qel {

/// The bytes that end a line.
enum class LineEnd {
    LineFeed,                    ///< only a line feed; a carriage return before it belongs to the line
    LineFeedAfterOptionalReturn, ///< a line feed, together with a carriage return before it
    LineFeedOrReturn,            ///< each line feed and each carriage return
};

/// Splits a stream into lines of limited length. The owner reads the stream into room(), reports what arrived
/// by append(), and takes lines until none is complete. The bytes are contiguous; they are moved only when at
/// least that many were taken or when a line needs the space, so that the cost stays proportional to the
/// input.
/// @threads one thread at a time.
class QEL_API LineSplitter {
public:
    /// What the splitter accepts and how much memory it keeps; all sizes are in bytes.
    struct Rules {
        LineEnd lineEnd = LineEnd::LineFeed; ///< what ends a line
        size_t longestLine = 0;              ///< without its line feed; longer lines are reported and dropped
        size_t firstCapacity = 0x10000;      ///< allocated by the first room(); at least 1
        size_t keptCapacity = 0x100000;      ///< a larger capacity is freed when every byte was taken
    };
    /// The outcome of take().
    enum class Found { Nothing, Line, TooLong };

    /// Creates an empty splitter, which allocates nothing.
    explicit LineSplitter(const Rules& rules) : m_rules(rules) {}

    /// Returns the space for the next bytes of the stream; empty if lines have to be taken first.
    ByteSpan room();
    /// Adds the first @p count bytes of room(), which the owner has filled.
    void append(size_t count) { m_end += count; }
    /// Returns true if take() would return something other than Found::Nothing.
    bool hasLine();
    /// Takes the next complete line. A line that is too long is reported once, as soon as it exceeds the
    /// limit; the rest of it is dropped.
    /// @param line  receives the line, without its end; valid until the next operation. Not set for
    ///              Found::TooLong.
    /// @return Found::Nothing if no complete line has arrived; room() is not empty then.
    Found take(std::string_view& line);
    /// Takes the bytes after the last line end of a stream that has ended. @return false if no byte is left.
    bool takeRest(std::string_view& line);

    /// Returns true if all bytes were taken.
    bool empty() const { return m_begin == m_end; }
    /// Returns true if room() is empty until the next take().
    bool isFull() const { return !empty() && m_end == m_bytes.getSize(); }
    /// Returns the number of bytes that were not taken yet.
    size_t size() const { return m_end - m_begin; }

private:
    char* bytes() { return reinterpret_cast<char*>(m_bytes.getBytePointer()); }
    size_t findEnd();
    std::string_view withoutReturn(std::string_view line) const;
    void continueLine();
    void moveToFront();
    void grow();
    void rest();

    Rules m_rules;
    Buffer m_bytes; // its size is the capacity
    size_t m_begin = 0;
    size_t m_scanned = 0; // there is no line end between m_begin and here
    size_t m_end = 0;
    bool m_isDropping = false; // true until the end of a line that was too long
};

} // namespace qel
