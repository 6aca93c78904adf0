// TexturePart: a part of a texture and where it is drawn.
#pragma once

#include <qel/foundation/base/rect.h>

namespace qel {

/// A part of a texture and the rectangle into which it is drawn.
struct TexturePart {
    Rect source; ///< in texture coordinates from 0 to 1
    Rect target; ///< in pixels
};

} // namespace qel
