// The source of an operation that initialises its target.
#pragma once

#include <qel/imaging/pixels/image.h>

namespace qel::internal {

/// The pixels of a source. If the source is the target itself, they are moved out of it first.
class SeparateSource {
public:
    /// Empties @p target if it is also @p source.
    SeparateSource(Image& target, const Image& source) : m_source(source) {
        if (&target == &source) m_moved.swap(target);
        m_isMoved = &target == &source;
    }

    /// Returns the pixels.
    const Image& operator*() const { return m_isMoved ? m_moved : m_source; }
    /// Returns the pixels.
    const Image* operator->() const { return &**this; }

private:
    const Image& m_source;
    Image m_moved;
    bool m_isMoved;
};

} // namespace qel::internal
