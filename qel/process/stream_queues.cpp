#include <qel/process/stream_queues_p.h>

#include <qel/foundation/base/line_end.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/process/process.h>

#include <algorithm>
#include <cstring>

namespace qel::internal {

namespace {

/// A larger capacity is freed when the queue becomes empty.
constexpr size_t kKeptCapacity = size_t{1} << 20;
/// The largest capacity: the longest line and some bytes after it, to see where it ends.
constexpr size_t kLastCapacity = Process::kMaxLineBytes + LineQueue::kFirstCapacity;

} // namespace

ByteSpan LineQueue::room() {
    if (m_bytes.empty()) m_bytes.resize(kFirstCapacity);
    const size_t capacity = m_bytes.getSize();
    if (m_begin >= size() && capacity - m_end < capacity / 2) moveToFront();
    return {m_bytes.getBytePointer() + m_end, capacity - m_end};
}

bool LineQueue::takeLine(String& line) {
    while (!empty()) {
        const char* end = bytes() + m_end;
        const char* stop = findLineEnd(bytes() + m_scanned, end);
        m_scanned = static_cast<size_t>(stop - bytes());
        if (stop == end) {
            noteUnfinishedLine();
            return false;
        }
        const size_t start = std::exchange(m_begin, ++m_scanned);
        const size_t length = m_begin - start - 1;
        if (std::exchange(m_isDropping, false) || dropIfTooLong(length)) continue;
        line.assign(bytes() + start, length);
        if (empty()) rest();
        return true;
    }
    return false;
}

bool LineQueue::takeRest(String& line) {
    m_isDropping = false;
    if (empty()) return false;
    line.assign(bytes() + m_begin, size());
    rest();
    return true;
}

void LineQueue::noteUnfinishedLine() {
    if (m_isDropping || dropIfTooLong(size())) {
        m_isDropping = true;
        rest();
    } else if (m_end == m_bytes.getSize()) {
        m_begin != 0 ? moveToFront() : grow();
    }
}

bool LineQueue::dropIfTooLong(size_t length) {
    if (length <= Process::kMaxLineBytes) return false;
    logging::error() << "[PROCESS] dropping a line of more than " << Process::kMaxLineBytes << " bytes";
    return true;
}

void LineQueue::moveToFront() {
    std::memmove(bytes(), bytes() + m_begin, size());
    m_scanned -= m_begin;
    m_end -= m_begin;
    m_begin = 0;
}

void LineQueue::grow() {
    m_bytes.resize(std::min(2 * m_bytes.getSize(), kLastCapacity));
}

void LineQueue::rest() {
    m_begin = m_scanned = m_end = 0;
    if (m_bytes.getSize() > kKeptCapacity) m_bytes.free();
}

void ByteQueue::append(ConstByteSpan bytes) {
    if (m_begin > m_bytes.getSize() / 2) {
        m_bytes.eraseFront(m_begin);
        m_begin = 0;
    }
    m_bytes.reserveAdditionally(bytes.size, m_bytes.getSize());
    m_bytes.append(bytes);
}

void ByteQueue::remove(size_t count) {
    m_begin += count;
    if (m_begin == m_bytes.getSize()) clear();
}

void ByteQueue::clear() {
    m_begin = 0;
    m_bytes.clear();
    if (m_bytes.getReservedSize() > kKeptCapacity) m_bytes.free();
}

} // namespace qel::internal
