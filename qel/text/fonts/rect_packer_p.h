// RectPacker: finds places for glyphs in a page.
#pragma once

#include <qel/foundation/base/ivec.h>

#include <memory>

namespace qel::internal {

/// Places rectangles in a square by the skyline method.
class RectPacker {
public:
    /// Starts with an empty square.
    explicit RectPacker(int size);
    ~RectPacker();

    /// Finds a place for a rectangle. One without an area needs no place and is put at (0, 0).
    /// @return false if it does not fit.
    bool pack(const IVec2<int>& size, IVec2<int>& position);
    /// Returns true if a rectangle with an area has been placed.
    bool isUsed() const { return m_isUsed; }

private:
    struct State;

    const std::unique_ptr<State> m_state;
    bool m_isUsed = false;
};

} // namespace qel::internal
