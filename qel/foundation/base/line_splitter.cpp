#include <qel/foundation/base/line_splitter.h>

#include <qel/foundation/base/line_end.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace qel {

ByteSpan LineSplitter::room() {
    if (empty()) rest();
    if (m_bytes.empty()) m_bytes.resize(m_rules.firstCapacity);
    const size_t capacity = m_bytes.getSize();
    if (m_begin >= size() && capacity - m_end < capacity / 2) moveToFront();
    return {m_bytes.getBytePointer() + m_end, capacity - m_end};
}

bool LineSplitter::hasLine() {
    while (!empty()) {
        m_scanned = findEnd();
        const bool isWhole = m_scanned != m_end;
        if (!m_isDropping && (isWhole || size() > m_rules.longestLine)) return true;
        if (!isWhole) {
            continueLine();
            return false;
        }
        m_isDropping = false;
        m_begin = ++m_scanned;
    }
    rest();
    return false;
}

LineSplitter::Found LineSplitter::take(std::string_view& line) {
    if (!hasLine()) return Found::Nothing;
    const bool isWhole = m_scanned != m_end;
    const std::string_view text(bytes() + m_begin, m_scanned - m_begin);
    m_begin = m_scanned += isWhole;
    if (text.size() > m_rules.longestLine) {
        m_isDropping = !isWhole;
        return Found::TooLong;
    }
    line = withoutReturn(text);
    return Found::Line;
}

bool LineSplitter::takeRest(std::string_view& line) {
    if (hasLine() || empty()) return false;
    line = withoutReturn({bytes() + m_begin, size()});
    m_begin = m_scanned = m_end;
    return true;
}

size_t LineSplitter::findEnd() {
    const char* const end = bytes() + m_end;
    if (m_rules.lineEnd == LineEnd::LineFeedOrReturn)
        return static_cast<size_t>(internal::findLineEnd(bytes() + m_scanned, end) - bytes());
    const void* const found = std::memchr(bytes() + m_scanned, '\n', m_end - m_scanned);
    return found ? static_cast<size_t>(static_cast<const char*>(found) - bytes()) : m_end;
}

std::string_view LineSplitter::withoutReturn(std::string_view line) const {
    if (m_rules.lineEnd == LineEnd::LineFeedAfterOptionalReturn && line.ends_with('\r'))
        line.remove_suffix(1);
    return line;
}

/// Makes room for the rest of the line, or drops what has arrived of a line that was too long.
void LineSplitter::continueLine() {
    if (m_isDropping) {
        rest();
    } else if (m_end == m_bytes.getSize()) {
        m_begin != 0 ? moveToFront() : grow();
    }
}

void LineSplitter::moveToFront() {
    std::memmove(bytes(), bytes() + m_begin, size());
    m_scanned -= m_begin;
    m_end -= m_begin;
    m_begin = 0;
}

/// The largest capacity holds the longest line and some bytes after it, to see where it ends.
void LineSplitter::grow() {
    const size_t most = std::numeric_limits<size_t>::max() - m_rules.firstCapacity;
    const size_t last = std::min(m_rules.longestLine, most) + m_rules.firstCapacity;
    m_bytes.resize(std::min(2 * m_bytes.getSize(), last));
}

void LineSplitter::rest() {
    m_begin = m_scanned = m_end = 0;
    if (m_bytes.getSize() > m_rules.keptCapacity) m_bytes.free();
}

} // namespace qel
