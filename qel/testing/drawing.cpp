#include <qel/testing/drawing.h>

#include <qel/render/drawing_mode_p.h>

namespace qel::seams {

void setDrawingMode(DrawingMode mode) {
    internal::g_drawingMode = static_cast<internal::DrawingMode>(mode);
}

} // namespace qel::seams
