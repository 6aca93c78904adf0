#include <qel/software3d/ray_caster_p.h>

#include <qel/software3d/occlusion_grid_p.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qel::internal {
namespace {

/// A ray ends at this coverage; what follows would not be seen.
constexpr float kOpaque = 0.9980392f;
/// How far opaque neighbours darken a place, and how many voxels away they are.
constexpr float kLocalShare = 0.8f;
constexpr float kLocalDistance = 2;

} // namespace

void RayCaster::castRow(int y, int x, int pixelStep, int count, const float* depths, Rgba* colors) const {
    for (int i = 0; i < count; ++i)
        colors[i] = cast(x + i * pixelStep, y, depths[std::ptrdiff_t{i} * pixelStep]);
}

Rgba RayCaster::cast(int x, int y, float depth) const {
    Path path{};
    if (!findPath(x, y, depth, path)) return {};
    if (!m_draw.isClassified) return maximum(path);
    if (!m_draw.colors->isValid(m_draw.usesMeans)) return {};
    return m_draw.usesMeans ? sumOfMeans(path) : sumOfValues(path);
}

/// Keeps the part of a ray where a linear function is not negative. @return false if nothing remains.
bool RayCaster::cut(double& begin, double& end, double atBegin, double slope) const {
    if (slope > 0)
        begin = std::max(begin, -atBegin / slope);
    else if (slope < 0)
        end = std::min(end, -atBegin / slope);
    else if (!(atBegin >= 0))
        return false;
    return begin < end;
}

bool RayCaster::findPath(int x, int y, float depth, Path& path) const {
    const IVec4<int>& port = m_draw.view.viewport;
    const double ndcX = 2 * (x + 0.5 - port.x) / (double{1} * port.z - port.x) - 1;
    const double ndcY = 1 - 2 * (y + 0.5 - port.y) / (double{1} * port.w - port.y);
    const IVec4<double> near = m_draw.fromNdc.transform(IVec4<double>(ndcX, ndcY, -1, 1));
    const IVec4<double> far = m_draw.fromNdc.transform(IVec4<double>(ndcX, ndcY, 1, 1));
    if (!(near.w * far.w > 0)) return false;
    const IVec3<double> origin(near.x / near.w, near.y / near.w, near.z / near.w);
    const IVec3<double> direction(far.x / far.w - origin.x, far.y / far.w - origin.y,
                                  far.z / far.w - origin.z);
    const double share = (double{depth} + 1) / 2;
    double begin = 0, end = share * far.w / ((1 - share) * near.w + share * far.w);
    for (int axis = 0; axis < 3; ++axis) {
        if (!cut(begin, end, origin[axis] - m_draw.lower[axis], direction[axis])) return false;
        if (!cut(begin, end, m_draw.upper[axis] - origin[axis], -direction[axis])) return false;
    }
    for (const IVec4<double>& p : m_draw.planes) {
        if (!cut(begin, end, p.x * origin.x + p.y * origin.y + p.z * origin.z + p.w,
                 p.x * direction.x + p.y * direction.y + p.z * direction.z))
            return false;
    }
    const double part = (end - begin) / m_draw.steps;
    const IVec3<double> world = m_draw.model.transform3x3(direction);
    const double length = std::sqrt(world.x * world.x + world.y * world.y + world.z * world.z) * part;
    path.segmentLength = static_cast<float>(length / m_draw.unitLength);
    for (int axis = 0; axis < 3; ++axis) {
        const double voxels = m_draw.size[axis];
        path.start[axis] = static_cast<float>((origin[axis] + begin * direction[axis]) * voxels - 0.5);
        path.step[axis] = static_cast<float>(part * direction[axis] * voxels);
        if (!std::isfinite(path.start[axis]) || !std::isfinite(path.step[axis])) return false;
    }
    return std::isfinite(path.segmentLength);
}

Rgba RayCaster::maximum(const Path& path) const {
    float most = 0;
    for (int i = 0; i < m_draw.steps; ++i) {
        const float t = m_draw.coordinate(m_draw.valueAt(path.at(static_cast<float>(i) + 0.5f)));
        most = std::max(most, toUnit(t));
    }
    return {most, most, most, 1};
}

int RayCaster::brickAt(const IVec3<float>& place) const {
    constexpr int kBrick = SoftwareVolumeTexture::kBrick;
    int brick[3];
    for (int axis = 0; axis < 3; ++axis)
        brick[axis] = static_cast<int>(std::clamp(place[axis], 0.0f, m_draw.last[axis])) / kBrick;
    const IVec3<int>& count = m_draw.texture->getBrickCount();
    return (brick[2] * count.y + brick[1]) * count.x + brick[0];
}

/// Returns the last of the places i + offset, i + 1 + offset, up to @p count - 1 + offset, that lies in the
/// same block of voxels as the first, if that block is transparent; @p i otherwise.
int RayCaster::lastInClearBrick(const Path& path, int i, float offset, int count) const {
    if (m_draw.isClearBrick.empty()) return i;
    constexpr float kBrick = SoftwareVolumeTexture::kBrick;
    const IVec3<float> place = path.at(static_cast<float>(i) + offset);
    const int brick = brickAt(place);
    if (m_draw.isClearBrick[static_cast<size_t>(brick)] == 0) return i;
    float most = static_cast<float>(count - 1 - i);
    for (int axis = 0; axis < 3; ++axis) {
        const float inside = std::clamp(place[axis], 0.0f, m_draw.last[axis]);
        const float begin = std::floor(inside / kBrick) * kBrick;
        const float step = path.step[axis];
        if (step > 0 && begin + kBrick <= m_draw.last[axis])
            most = std::min(most, (begin + kBrick - place[axis]) / step);
        else if (step < 0 && begin > 0)
            most = std::min(most, (begin - place[axis]) / step);
    }
    const int last = i + static_cast<int>(std::max(most, 0.0f));
    // Rounding may put the last place into the next block.
    if (brickAt(path.at(static_cast<float>(last) + offset)) == brick) return last;
    return last > i && brickAt(path.at(static_cast<float>(last - 1) + offset)) == brick ? last - 1 : i;
}

Rgba RayCaster::sumOfValues(const Path& path) const {
    Rgba sum;
    for (int i = 0; i < m_draw.steps; ++i) {
        const int last = lastInClearBrick(path, i, 0.5f, m_draw.steps);
        if (last > i) {
            i = last;
            continue;
        }
        const float middle = static_cast<float>(i) + 0.5f;
        const IVec3<float> place = path.at(middle);
        const Rgba color = m_draw.colors->at(m_draw.coordinate(m_draw.valueAt(place)));
        if (!(color.a > 0)) continue;
        const float weight = m_draw.usesGradient ? m_draw.weights->at(m_draw.gradientAt(place)).r : 1.0f;
        if (!add(sum, color, weight, path, middle)) break;
    }
    return sum;
}

Rgba RayCaster::sumOfMeans(const Path& path) const {
    Rgba sum;
    const auto valueAt = [&](int i) {
        return m_draw.coordinate(m_draw.valueAt(path.at(static_cast<float>(i))));
    };
    float before = valueAt(0), gradient = 0;
    int gradientAt = -1; // the place for which the gradient is known
    for (int i = 0; i < m_draw.steps; ++i) {
        const int last = lastInClearBrick(path, i, 0, m_draw.steps + 1);
        if (last > i) {
            i = last;
            if (i >= m_draw.steps) break;
            before = valueAt(i);
        }
        const float after = valueAt(i + 1);
        const Rgba color = m_draw.colors->mean(before, after);
        before = after;
        if (!(color.a > 0)) continue;
        float weight = 1;
        if (m_draw.usesGradient) {
            const float first =
                gradientAt == i ? gradient : m_draw.gradientAt(path.at(static_cast<float>(i)));
            gradient = m_draw.gradientAt(path.at(static_cast<float>(i) + 1));
            gradientAt = i + 1;
            weight = m_draw.weights->mean(first, gradient).r;
        }
        if (!add(sum, color, weight, path, static_cast<float>(i) + 0.5f)) break;
    }
    return sum;
}

/// Adds a segment after those of @p sum. @return false if nothing after it can be seen.
bool RayCaster::add(Rgba& sum, const Rgba& segment, float weight, const Path& path, float middle) const {
    const float opacity = opacityOver(segment.a * weight, path.segmentLength);
    if (!(opacity > 0)) return true;
    const float share = (1 - sum.a) * opacity;
    const float lit = share * light(path.at(middle));
    sum.r += segment.r * lit;
    sum.g += segment.g * lit;
    sum.b += segment.b * lit;
    sum.a += share;
    if (sum.a < kOpaque) return true;
    const float whole = 1 / sum.a;
    sum = {sum.r * whole, sum.g * whole, sum.b * whole, 1};
    return false;
}

/// Returns the share of the colour that both kinds of occlusion leave.
float RayCaster::light(const IVec3<float>& place) const {
    float share = 1;
    if (m_draw.usesLocalOcclusion) {
        float sum = 0;
        for (int axis = 0; axis < 3; ++axis) {
            for (const float distance : {-kLocalDistance, kLocalDistance}) {
                IVec3<float> neighbour = place;
                neighbour[axis] += distance;
                sum += opacityAt(m_draw, neighbour);
            }
        }
        share = 1 - kLocalShare * (sum * (1 / 6.0f));
    }
    return m_draw.occlusion ? share * m_draw.occlusion->lightAt(place) : share;
}

} // namespace qel::internal
