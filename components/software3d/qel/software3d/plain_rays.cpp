#include <qel/software3d/occlusion_grid_p.h>
#include <qel/software3d/ray_caster_p.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qel::internal {
namespace {

/// The part of a ray inside the volume, in equal segments. Places are in voxels.
struct Path {
    IVec3<float> start;
    IVec3<float> step;
    float segmentLength = 0; ///< in units of opacity

    IVec3<float> at(float segments) const {
        return {start.x + segments * step.x, start.y + segments * step.y, start.z + segments * step.z};
    }
};

/// Keeps the part of a ray where a linear function is not negative. @return false if nothing remains.
bool cut(double& begin, double& end, double atBegin, double slope) {
    if (slope > 0)
        begin = std::max(begin, -atBegin / slope);
    else if (slope < 0)
        end = std::min(end, -atBegin / slope);
    else if (!(atBegin >= 0))
        return false;
    return begin < end;
}

bool cutByBoxAndPlanes(const VolumeDraw& draw, const IVec3<double>& origin, const IVec3<double>& direction,
                       double& begin, double& end) {
    for (int axis = 0; axis < 3; ++axis) {
        if (!cut(begin, end, origin[axis] - draw.lower[axis], direction[axis])) return false;
        if (!cut(begin, end, draw.upper[axis] - origin[axis], -direction[axis])) return false;
    }
    return std::all_of(draw.planes.begin(), draw.planes.end(), [&](const IVec4<double>& p) {
        return cut(begin, end, p.x * origin.x + p.y * origin.y + p.z * origin.z + p.w,
                   p.x * direction.x + p.y * direction.y + p.z * direction.z);
    });
}

bool findPath(const VolumeDraw& draw, int x, int y, float depth, Path& path) {
    const IVec4<int>& port = draw.view.viewport;
    const double ndcX = 2 * (x + 0.5 - port.x) / (double{1} * port.z - port.x) - 1;
    const double ndcY = 1 - 2 * (y + 0.5 - port.y) / (double{1} * port.w - port.y);
    const IVec4<double> near = draw.fromNdc.transform(IVec4<double>(ndcX, ndcY, -1, 1));
    const IVec4<double> far = draw.fromNdc.transform(IVec4<double>(ndcX, ndcY, 1, 1));
    if (!(near.w * far.w > 0)) return false;
    const IVec3<double> origin(near.x / near.w, near.y / near.w, near.z / near.w);
    const IVec3<double> direction(far.x / far.w - origin.x, far.y / far.w - origin.y,
                                  far.z / far.w - origin.z);
    const double share = (double{depth} + 1) / 2;
    double begin = 0, end = share * far.w / ((1 - share) * near.w + share * far.w);
    if (!cutByBoxAndPlanes(draw, origin, direction, begin, end)) return false;
    const double part = (end - begin) / draw.steps;
    const IVec3<double> world = draw.model.transform3x3(direction);
    const double length = std::sqrt(world.x * world.x + world.y * world.y + world.z * world.z) * part;
    path.segmentLength = static_cast<float>(length / draw.unitLength);
    for (int axis = 0; axis < 3; ++axis) {
        const double voxels = draw.size[axis];
        path.start[axis] = static_cast<float>((origin[axis] + begin * direction[axis]) * voxels - 0.5);
        path.step[axis] = static_cast<float>(part * direction[axis] * voxels);
        if (!std::isfinite(path.start[axis]) || !std::isfinite(path.step[axis])) return false;
    }
    return std::isfinite(path.segmentLength);
}

/// The colour of one ray.
class Ray {
public:
    Ray(const VolumeDraw& draw, const Path& path) : m_draw(draw), m_path(path) {}

    Rgba maximum() const {
        float most = 0;
        for (int i = 0; i < m_draw.steps; ++i)
            most = std::max(most, toUnit(coordinateAt(static_cast<float>(i) + 0.5f)));
        return {most, most, most, 1};
    }

    Rgba sumOfValues() {
        for (int i = 0; i < m_draw.steps && !m_isOpaque; ++i) {
            const float middle = static_cast<float>(i) + 0.5f;
            const Rgba color = m_draw.colors->at(coordinateAt(middle));
            if (!(color.a > 0)) continue;
            const float weight =
                m_draw.usesGradient ? m_draw.weights->at(m_draw.gradientAt(m_path.at(middle))).r : 1.0f;
            add(color, weight, middle);
        }
        return m_sum;
    }

    Rgba sumOfMeans() {
        for (int i = 0; i < m_draw.steps && !m_isOpaque; ++i) {
            const auto begin = static_cast<float>(i), end = begin + 1;
            const Rgba color = m_draw.colors->mean(coordinateAt(begin), coordinateAt(end));
            if (!(color.a > 0)) continue;
            float weight = 1;
            if (m_draw.usesGradient)
                weight = m_draw.weights
                             ->mean(m_draw.gradientAt(m_path.at(begin)), m_draw.gradientAt(m_path.at(end)))
                             .r;
            add(color, weight, begin + 0.5f);
        }
        return m_sum;
    }

private:
    float coordinateAt(float segments) const {
        return m_draw.coordinate(m_draw.valueAt(m_path.at(segments)));
    }

    /// Adds a segment after the others.
    void add(const Rgba& segment, float weight, float middle) {
        const float opacity = opacityOver(segment.a * weight, m_path.segmentLength);
        if (!(opacity > 0)) return;
        const float share = (1 - m_sum.a) * opacity;
        const float lit = share * lightAt(m_draw, m_path.at(middle));
        m_sum.r += segment.r * lit;
        m_sum.g += segment.g * lit;
        m_sum.b += segment.b * lit;
        m_sum.a += share;
        m_isOpaque = m_sum.a >= kOpaqueCoverage;
        if (!m_isOpaque) return;
        const float whole = 1 / m_sum.a;
        m_sum = {m_sum.r * whole, m_sum.g * whole, m_sum.b * whole, 1};
    }

    const VolumeDraw& m_draw;
    const Path& m_path;
    Rgba m_sum;
    bool m_isOpaque = false;
};

} // namespace

void castPlainRays(const VolumeDraw& draw, const PixelGrid& pixels, Rgba* colors, std::ptrdiff_t pitch) {
    for (int row = 0; row < pixels.rows; ++row) {
        for (int column = 0; column < pixels.columns; ++column) {
            Rgba& color = colors[row * pitch + column];
            color = {};
            Path path;
            if (!findPath(draw, pixels.x + column * pixels.step, pixels.y + row * pixels.step,
                          pixels.depthAt(column, row), path))
                continue;
            Ray ray(draw, path);
            if (!draw.isClassified)
                color = ray.maximum();
            else
                color = draw.usesMeans ? ray.sumOfMeans() : ray.sumOfValues();
        }
    }
}

} // namespace qel::internal
