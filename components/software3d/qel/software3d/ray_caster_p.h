// The rays through a volume.
#pragma once

#include <qel/software3d/volume_draw_p.h>

namespace qel::internal {

/// Computes the colour that a volume has in a pixel. @threads any number.
class RayCaster {
public:
    explicit RayCaster(const VolumeDraw& draw) : m_draw(draw) {}

    /// Computes the colours of the @p count pixels x, x + pixelStep, x + 2 * pixelStep and so on of row @p y,
    /// multiplied by their coverage and without tint.
    /// @param depths  the normalised depths, -1 to 1, at which the rays of the row's pixels end; the first is
    ///                that of pixel x, and every pixelStep-th is read.
    /// @param colors  receives @p count colours.
    void castRow(int y, int x, int pixelStep, int count, const float* depths, Rgba* colors) const;

private:
    Rgba cast(int x, int y, float depth) const;
    /// The part of a ray inside the volume, in equal segments. Places are in voxels.
    struct Path {
        IVec3<float> start;
        IVec3<float> step;
        float segmentLength; ///< in units of opacity

        IVec3<float> at(float segments) const {
            return {start.x + segments * step.x, start.y + segments * step.y, start.z + segments * step.z};
        }
    };

    bool findPath(int x, int y, float depth, Path& path) const;
    bool cut(double& begin, double& end, double atBegin, double slope) const;
    Rgba maximum(const Path& path) const;
    Rgba sumOfValues(const Path& path) const;
    Rgba sumOfMeans(const Path& path) const;
    int brickAt(const IVec3<float>& place) const;
    int lastInClearBrick(const Path& path, int i, float offset, int count) const;
    bool add(Rgba& sum, const Rgba& segment, float weight, const Path& path, float middle) const;
    float light(const IVec3<float>& place) const;

    const VolumeDraw& m_draw;
};

} // namespace qel::internal
