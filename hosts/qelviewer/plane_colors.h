// The colours that distinguish the planes.
#pragma once

#include "volume/orientation.h"

#include <hosts/widgets/look.h>

namespace qelviewer {

/// Returns the colour of a plane: of the title of its pane, and of its line in the other panes.
inline qelwidgets::Color planeColor(Plane plane) {
    switch (plane) {
    case Plane::Axial:
        return {0.98f, 0.45f, 0.38f, 1};
    case Plane::Coronal:
        return {0.48f, 0.85f, 0.56f, 1};
    default:
        return {0.37f, 0.7f, 0.95f, 1};
    }
}

} // namespace qelviewer
