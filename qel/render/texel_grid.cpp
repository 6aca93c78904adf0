#include <qel/render/texel_grid_p.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace qel::internal {

namespace {

/// The corner of the source at which an orientation starts, and how u and v follow x and y.
struct Orientation {
    bool startsRight;
    bool startsBottom;
    int a, b, c, d;
};

constexpr std::array<Orientation, 8> kOrientations{{
    {false, false, 1, 0, 0, 1},
    {false, true, 0, -1, 1, 0},
    {true, true, -1, 0, 0, -1},
    {true, false, 0, 1, -1, 0},
    {true, false, -1, 0, 0, 1},
    {true, true, 0, -1, -1, 0},
    {false, true, 1, 0, 0, -1},
    {false, false, 0, 1, 1, 0},
}};

double nearestWhole(double v) {
    return std::fabs(v) < 1e9 ? wholeBelow(v + 0.5) : std::round(v);
}

bool isNearlyWhole(double v) {
    return std::fabs(v - nearestWhole(v)) <= 1e-6;
}

double distanceFromCentre(double v) {
    return v - (wholeBelow(v) + 0.5);
}

} // namespace

TexelGrid TexelGrid::of(const Rect& source, const IVec4<int>& target, const IVec4<int>& area, int orientation,
                        const IVec2<int>& textureSize, bool isBilinear) {
    const Orientation& o = kOrientations[static_cast<size_t>(orientation)];
    const bool isTurned = orientation % 2 != 0;
    double width = static_cast<double>(target.z) - target.x;
    double height = static_cast<double>(target.w) - target.y;
    if (isTurned) std::swap(width, height);
    const double sx = (static_cast<double>(source.x1) - static_cast<double>(source.x0)) / width;
    const double sy = (static_cast<double>(source.y1) - static_cast<double>(source.y0)) / height;
    const double offsetX = static_cast<double>(area.x) - target.x + 0.5;
    const double offsetY = static_cast<double>(area.y) - target.y + 0.5;
    const double uStart = offsetX * (sx * o.a) + offsetY * (sx * o.c) +
                          static_cast<double>(o.startsRight ? source.x1 : source.x0);
    const double vStart = offsetX * (sy * o.b) + offsetY * (sy * o.d) +
                          static_cast<double>(o.startsBottom ? source.y1 : source.y0);
    const TexelAxis u{uStart * textureSize.x, sx * (isTurned ? o.c : o.a) * textureSize.x, textureSize.x};
    const TexelAxis v{vStart * textureSize.y, sy * (isTurned ? o.b : o.d) * textureSize.y, textureSize.y};

    TexelGrid grid;
    grid.isLinear = isBilinear;
    grid.columnsAlongV = isTurned;
    grid.columns = isTurned ? v : u;
    grid.rows = isTurned ? u : v;
    if (isBilinear) grid.snapToTexels();
    return grid;
}

namespace {

/// Returns the first texel if @p count pixels show one texel after another, and no rounding can change that.
int firstOfRun(const TexelAxis& axis, int count) {
    if (axis.step != 1 || !(axis.start >= 0 && axis.start <= axis.size)) return -1;
    const int first = static_cast<int>(axis.start);
    const double distance = axis.start - first;
    return distance >= 0.25 && distance <= 0.75 && count <= axis.size - first ? first : -1;
}

} // namespace

std::optional<IVec2<int>> TexelGrid::shift(const IVec2<int>& size) const {
    if (isLinear || columnsAlongV) return {};
    const IVec2<int> first(firstOfRun(columns, size.x), firstOfRun(rows, size.y));
    if (first.x < 0 || first.y < 0) return {};
    return first;
}

// Steps of whole texels from the centre of one hit centres only: interpolation would change nothing. The
// steps are computed, so they count as whole when they nearly are.
void TexelGrid::snapToTexels() {
    if (!isNearlyWhole(columns.step) || !isNearlyWhole(rows.step)) return;
    const double dx = distanceFromCentre(columns.start);
    const double dy = distanceFromCentre(rows.start);
    if (!(dx * dx + dy * dy <= 1e-5)) return;
    isLinear = false;
    for (TexelAxis* const axis : {&columns, &rows}) {
        axis->step = nearestWhole(axis->step);
        axis->start = wholeBelow(axis->start) + 0.5;
    }
}

} // namespace qel::internal
