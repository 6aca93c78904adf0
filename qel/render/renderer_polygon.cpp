#include <qel/render/draw_limits_p.h>
#include <qel/render/renderer.h>
#include <qel/render/triangulate_p.h>

#include <algorithm>
#include <cmath>

namespace qel {

void Renderer::drawFilledPolygonInternal(int count, const IVec2<float>* points) {
    if (!(getColor().w > internal::kInvisibleAlpha) || count < 3 || points == nullptr) return;
    const Vector<IVec2<float>> ring(points, points + count);
    const auto isFinite = [](const IVec2<float>& p) { return std::isfinite(p.x) && std::isfinite(p.y); };
    if (!std::all_of(ring.begin(), ring.end(), isFinite)) return;
    const Vector<uint32> corners = internal::triangulate({ring});
    for (size_t i = 0; i + 2 < corners.size(); i += 3)
        drawTriangleInternal(ring[corners[i]], ring[corners[i + 1]], ring[corners[i + 2]]);
}

} // namespace qel
