// How drawing operations are executed; <qel/testing/drawing.h> is the public side.
#pragma once

#include <atomic>

namespace qel::internal {

/// The ways to execute drawing operations, all with the same pixels.
enum class DrawingMode : int {
    Default, ///< small lists of operations at once, large ones in bands
    Plain,   ///< each operation at once, by the functions that define its result
    Inline,  ///< recorded, and drawn on the calling thread
    Banded,  ///< recorded, and drawn in bands by several threads
};

/// The mode of all renderers.
extern constinit std::atomic<DrawingMode> g_drawingMode;

inline bool isPlainDrawing() {
    return g_drawingMode.load(std::memory_order_relaxed) == DrawingMode::Plain;
}

} // namespace qel::internal
