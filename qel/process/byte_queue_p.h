// ByteQueue: what was written to a stream and has not reached it yet.
#pragma once

#include <qel/foundation/base/buffer.h>

namespace qel::internal {

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
