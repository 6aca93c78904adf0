// How much light reaches the places of a volume.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/software3d/volume_draw_p.h>

#include <functional>
#include <memory>

namespace qel::internal {

/// How far opaque neighbours darken a place, and how many voxels away they are.
inline constexpr float kLocalShare = 0.8f;
inline constexpr float kLocalDistance = 2;

/// Returns the share of a colour at a place in voxels that both kinds of occlusion leave.
float lightAt(const VolumeDraw& draw, const IVec3<float>& place);

/// For each cell of 4 by 4 by 4 voxels, the mean share of light that comes from 14 directions, those of the
/// faces and corners of a cube, through the mean opacities of the cells on the way.
class OcclusionGrid {
public:
    /// Computes the grid on all processors.
    /// @param isStopped  may be empty; once it returns true, the rest of the grid is left out.
    explicit OcclusionGrid(const VolumeDraw& draw, const std::function<bool()>& isStopped = {});
    /// Returns true if the grid of @p draw is the same.
    bool isFor(const VolumeDraw& draw) const;
    /// Returns the share of a colour that remains at a place in voxels, 0.25 to 1.
    float lightAt(const IVec3<float>& place) const;

private:
    struct Key {
        uint64 revision;
        std::shared_ptr<const TransferTable> colors;
        bool usesMeans;
        float scale;
        float bias;
        Double4x4 model;
        bool operator==(const Key&) const = default;
    };

    static Key keyOf(const VolumeDraw& draw);
    size_t index(int x, int y, int z) const;
    float meanOpacity(const VolumeDraw& draw, const float* opacities, IVec3<int> cell) const;
    void sweep(const IVec3<int>& direction, float length, const Vector<float>& opacity, Vector<float>& light);
    void sweepLine(IVec3<int> cell, const IVec3<int>& direction, float length, const Vector<float>& opacity,
                   Vector<float>& light);

    Key m_key;
    IVec3<int> m_size;
    Vector<uint8> m_light;
};

/// The grids that were used last.
class OcclusionGrids {
public:
    /// Returns the grid for a volume.
    std::shared_ptr<const OcclusionGrid> get(const VolumeDraw& draw);

private:
    Vector<std::shared_ptr<const OcclusionGrid>> m_grids; ///< the last used one is the last
};

} // namespace qel::internal
