#include <qel/software3d/occlusion_grid_p.h>

#include <qel/software3d/parallel_p.h>

#include <algorithm>
#include <cmath>

namespace qel::internal {
namespace {

constexpr int kCell = 4;
constexpr size_t kMostGrids = 4;
constexpr unsigned kStoredValues = 1 << 16; // that a voxel may have
constexpr unsigned kValuesAtOnce = 1 << 12;
constexpr float kDarkest = 0.25f;

/// The faces and corners of a cube.
constexpr int kDirections[14][3] = {{1, 0, 0},  {-1, 0, 0},  {0, 1, 0},   {0, -1, 0},  {0, 0, 1},
                                    {0, 0, -1}, {1, 1, 1},   {-1, 1, 1},  {1, -1, 1},  {-1, -1, 1},
                                    {1, 1, -1}, {-1, 1, -1}, {1, -1, -1}, {-1, -1, -1}};

float opacityOf(const VolumeDraw& draw, float stored) {
    const float t = draw.coordinate(stored);
    return draw.usesMeans ? draw.colors->mean(t, t).a : draw.colors->at(t).a;
}

/// Returns the opacities of all values that a voxel may have.
Vector<float> opacitiesOf(const VolumeDraw& draw) {
    Vector<float> opacities(kStoredValues);
    runPieces(kStoredValues / kValuesAtOnce, [&](unsigned piece) {
        for (unsigned stored = piece * kValuesAtOnce; stored < (piece + 1) * kValuesAtOnce; ++stored)
            opacities[stored] = opacityOf(draw, static_cast<float>(stored));
    });
    return opacities;
}

/// Returns the share of light that opaque neighbours leave.
float localLightAt(const VolumeDraw& draw, const IVec3<float>& place) {
    float sum = 0;
    for (int axis = 0; axis < 3; ++axis) {
        for (const float distance : {-kLocalDistance, kLocalDistance}) {
            IVec3<float> neighbour = place;
            neighbour[axis] += distance;
            sum += opacityOf(draw, draw.valueAt(neighbour));
        }
    }
    return 1 - kLocalShare * (sum * (1 / 6.0f));
}

} // namespace

float lightAt(const VolumeDraw& draw, const IVec3<float>& place) {
    const float share = draw.usesLocalOcclusion ? localLightAt(draw, place) : 1;
    return draw.occlusion ? share * draw.occlusion->lightAt(place) : share;
}

OcclusionGrid::Key OcclusionGrid::keyOf(const VolumeDraw& draw) {
    return {draw.texture->getRevision(), draw.colors, draw.usesMeans, draw.scale, draw.bias, draw.model};
}

OcclusionGrid::OcclusionGrid(const VolumeDraw& draw, const std::function<bool()>& isStopped)
    : m_key(keyOf(draw)) {
    for (int axis = 0; axis < 3; ++axis) m_size[axis] = (draw.size[axis] - 1) / kCell + 1;
    const size_t cells = index(0, 0, m_size.z);
    Vector<float> opacity(cells), light(cells);
    const Vector<float> opacities = opacitiesOf(draw);
    runPieces(static_cast<unsigned>(m_size.z), [&](unsigned z) {
        if (isStopped && isStopped()) return;
        for (int y = 0; y < m_size.y; ++y)
            for (int x = 0; x < m_size.x; ++x)
                opacity[index(x, y, static_cast<int>(z))] =
                    meanOpacity(draw, opacities.data(), {x, y, static_cast<int>(z)});
    });
    for (const auto& d : kDirections) {
        if (isStopped && isStopped()) return;
        const IVec3<double> step = draw.model.transform3x3({static_cast<double>(kCell * d[0]) / draw.size.x,
                                                            static_cast<double>(kCell * d[1]) / draw.size.y,
                                                            static_cast<double>(kCell * d[2]) / draw.size.z});
        const double length = std::sqrt(step.x * step.x + step.y * step.y + step.z * step.z);
        sweep({d[0], d[1], d[2]}, static_cast<float>(length / draw.unitLength), opacity, light);
    }
    m_light.resize(cells);
    for (size_t i = 0; i < cells; ++i) m_light[i] = toColorByte(light[i] * (1 / 14.0f));
}

bool OcclusionGrid::isFor(const VolumeDraw& draw) const {
    return m_key == keyOf(draw);
}

size_t OcclusionGrid::index(int x, int y, int z) const {
    return (static_cast<size_t>(z) * static_cast<size_t>(m_size.y) + static_cast<size_t>(y)) *
               static_cast<size_t>(m_size.x) +
           static_cast<size_t>(x);
}

/// Returns the mean opacity of the voxels in a cell. @param opacities  of all values.
float OcclusionGrid::meanOpacity(const VolumeDraw& draw, const float* opacities, IVec3<int> cell) const {
    IVec3<int> end;
    for (int axis = 0; axis < 3; ++axis) {
        cell[axis] *= kCell;
        end[axis] = std::min(cell[axis] + kCell, draw.size[axis]);
    }
    float sum = 0;
    int count = 0;
    for (int z = cell.z; z < end.z; ++z) {
        for (int y = cell.y; y < end.y; ++y) {
            const uint16* const row =
                draw.texture->getVoxels() +
                (static_cast<size_t>(z) * static_cast<size_t>(draw.size.y) + static_cast<size_t>(y)) *
                    static_cast<size_t>(draw.size.x);
            for (int x = cell.x; x < end.x; ++x, ++count) sum += opacities[row[x]];
        }
    }
    return sum / static_cast<float>(count);
}

/// Adds the light from one direction to each cell. @param length  of a step between cells, in units of
/// opacity.
void OcclusionGrid::sweep(const IVec3<int>& direction, float length, const Vector<float>& opacity,
                          Vector<float>& light) {
    const auto isFirst = [&](int x, int y, int z) { // whether the next cell is outside
        const int next[3] = {x + direction.x, y + direction.y, z + direction.z};
        return next[0] < 0 || next[0] >= m_size.x || next[1] < 0 || next[1] >= m_size.y || next[2] < 0 ||
               next[2] >= m_size.z;
    };
    runPieces(static_cast<unsigned>(m_size.z), [&](unsigned layer) {
        const auto z = static_cast<int>(layer);
        for (int y = 0; y < m_size.y; ++y)
            for (int x = 0; x < m_size.x; ++x)
                if (isFirst(x, y, z)) sweepLine({x, y, z}, direction, length, opacity, light);
    });
}

/// Follows the light from a cell at the border. No other line of the direction contains one of its cells.
void OcclusionGrid::sweepLine(IVec3<int> cell, const IVec3<int>& direction, float length,
                              const Vector<float>& opacity, Vector<float>& light) {
    float share = 1;
    while (cell.x >= 0 && cell.x < m_size.x && cell.y >= 0 && cell.y < m_size.y && cell.z >= 0 &&
           cell.z < m_size.z) {
        const size_t i = index(cell.x, cell.y, cell.z);
        light[i] += share;
        share *= 1 - opacityOver(opacity[i], length);
        for (int axis = 0; axis < 3; ++axis) cell[axis] -= direction[axis];
    }
}

float OcclusionGrid::lightAt(const IVec3<float>& place) const {
    int low[3], high[3];
    float f[3];
    for (int axis = 0; axis < 3; ++axis) {
        const float at = std::clamp((place[axis] + 0.5f) * (1.0f / kCell) - 0.5f, 0.0f,
                                    static_cast<float>(m_size[axis] - 1));
        low[axis] = static_cast<int>(at);
        high[axis] = std::min(low[axis] + 1, m_size[axis] - 1);
        f[axis] = at - static_cast<float>(low[axis]);
    }
    const auto row = [&](int y, int z) {
        const float a = m_light[index(low[0], y, z)], b = m_light[index(high[0], y, z)];
        return a + (b - a) * f[0];
    };
    const auto layer = [&](int z) {
        const float a = row(low[1], z), b = row(high[1], z);
        return a + (b - a) * f[1];
    };
    const float a = layer(low[2]), b = layer(high[2]);
    return kDarkest + (1 - kDarkest) * ((a + (b - a) * f[2]) * (1 / 255.0f));
}

std::shared_ptr<const OcclusionGrid> OcclusionGrids::get(const VolumeDraw& draw) {
    const auto found =
        std::find_if(m_grids.begin(), m_grids.end(), [&](const auto& grid) { return grid->isFor(draw); });
    auto grid = found != m_grids.end() ? *found : std::make_shared<const OcclusionGrid>(draw);
    if (found != m_grids.end()) m_grids.erase(found);
    if (m_grids.size() >= kMostGrids) m_grids.erase(m_grids.begin());
    m_grids.push_back(grid);
    return grid;
}

} // namespace qel::internal
