// Rows of alpha bytes, through which a constant colour is drawn.
#pragma once

#include <qel/render/surface_p.h>

#include <cstddef>
#include <optional>

namespace qel::internal {

/// Rows of alpha bytes over rows of a BGRA8 target. It is a view.
struct MaskRows {
    uint8* target; ///< the first pixel
    std::ptrdiff_t pitch;
    const uint8* alphas; ///< the first byte
    std::ptrdiff_t alphaPitch;
    const uint8* end; ///< the end of the memory of the alphas
    int width;
    int height;
};

/// Draws a tint, with its alpha multiplied by those of a mask.
class MaskBrush {
public:
    explicit MaskBrush(const Color& tint);
    void draw(const MaskRows& rows) const;

private:
    Color m_tint;
    std::optional<uint32> m_pixel; ///< the bytes B, G and R of an opaque tint of whole bytes
};

} // namespace qel::internal
