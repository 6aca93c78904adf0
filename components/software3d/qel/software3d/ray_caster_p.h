// The rays through a volume.
#pragma once

#include <qel/software3d/pixel_blend_p.h>
#include <qel/software3d/volume_draw_p.h>

namespace qel::internal {

/// Computes the colours that a volume has in pixels. @threads any number.
class RayCaster {
public:
    /// Keeps a reference to @p draw, whose number of steps may differ from its actor's.
    explicit RayCaster(const VolumeDraw& draw);

    /// Computes the colours of the @p count pixels x, x + pixelStep, x + 2 * pixelStep and so on of row @p y,
    /// multiplied by their coverage and without tint.
    /// @param depths  the normalised depths, -1 to 1, at which the rays of the row's pixels end; the first is
    ///                that of pixel x, and every pixelStep-th is read.
    /// @param colors  receives @p count colours.
    void castRow(int y, int x, int pixelStep, int count, const float* depths, Rgba* colors) const;

private:
    const VolumeDraw& m_draw;
    const bool m_hasColors;
    const bool m_usesVectors;
};

/// A ray ends at this coverage; what follows would not be seen.
inline constexpr float kOpaqueCoverage = 0.9980392f;

/// Pixels of a row: x, x + step, x + 2 * step and so on.
struct PixelRun {
    int y;
    int x;
    int step;
    int count;           ///< 1 to kMostPixels
    const float* depths; ///< where the rays end; every step-th is read

    /// The pixels that the vector kernels take at once.
    static constexpr int kMostPixels = 16;
};

/// Computes the colours of the pixels of a run; draw.colors is valid for classified volumes. This function
/// defines every result: it uses plain arithmetic on one ray at a time and skips nothing.
void castPlainRays(const VolumeDraw& draw, const PixelRun& pixels, Rgba* colors);
/// Computes the same colours with vector instructions, for volumes of up to 2^32 voxels.
void castVectorRays(const VolumeDraw& draw, const PixelRun& pixels, Rgba* colors);

} // namespace qel::internal
