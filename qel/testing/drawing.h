// Test seam: how the software renderer executes drawing operations.
#pragma once

#include <qel/platform/api.h>

namespace qel::seams {

/// The ways to execute drawing operations, all with the same pixels.
enum class DrawingMode : int {
    Default, ///< small lists of operations at once, large ones in bands of rows by several threads
    Plain,   ///< each operation at once, pixel by pixel, by the functions that define its result
    Inline,  ///< recorded, and drawn on the calling thread by the fast functions
    Banded,  ///< recorded, and drawn in bands of rows by several threads, however small
};

/// Sets how all software renderers draw from now on. @threads while none draws.
QEL_API void setDrawingMode(DrawingMode mode);

} // namespace qel::seams
