#include <qel/process/byte_queue_p.h>

namespace qel::internal {

namespace {

/// A larger capacity is freed when the queue becomes empty.
constexpr size_t kKeptCapacity = size_t{1} << 20;

} // namespace

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
