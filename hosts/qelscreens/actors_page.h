// ActorsPage: what rectangles and pictures can look like.
#pragma once

#include "page.h"

namespace qelscreens {

/// Shows scale methods, pictures in three and nine parts, rotations, shadows and gliding colours.
class ActorsPage : public Page {
    QEL_CLASS(ActorsPage, Page)

public:
    ActorsPage();
};

} // namespace qelscreens
