// Pictures whose outer parts keep their size while the others are stretched.
#pragma once

#include <qel/foundation/base/rect.h>
#include <qel/scene/actors/picture_layout_p.h>

namespace qel {
class Renderer;
class Texture;
} // namespace qel

namespace qel::internal {

/// A picture to be drawn in three or nine parts.
struct PictureParts {
    Texture* texture;
    PlacedPicture place;
    Rotation rotation;
    uint32 cut;                       ///< bits of RectActor::ExtendCut
    const IVec4<float>* cornerColors; ///< left top, left bottom, right bottom, right top; null for none

    /// Draws the parts, the outer ones first.
    void draw(Renderer& renderer) const;
};

} // namespace qel::internal
