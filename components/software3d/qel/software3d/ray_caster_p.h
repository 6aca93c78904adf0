// The rays through a volume.
#pragma once

#include <qel/software3d/pixel_blend_p.h>
#include <qel/software3d/volume_draw_p.h>

#include <cstddef>

namespace qel::internal {

/// Pixels in rows and columns.
struct PixelGrid {
    int x; ///< of the first pixel
    int y;
    int step; ///< from a pixel to the next, on both axes
    int columns;
    int rows;
    /// The normalised depth, -1 to 1, at which the ray of the first pixel ends; every step-th is read.
    const float* depths;
    std::ptrdiff_t depthPitch; ///< from a depth to that of the target's next row

    /// The pixels that the kernels take at once.
    static constexpr int kMostPixels = 16;

    /// Returns the columns that the kernels take at once: the pixels of several rows are close together.
    int lanesPerRow() const { return rows == 1 ? kMostPixels : 4; }
    /// Returns the depth at which the ray of a pixel ends.
    float depthAt(int column, int row) const {
        return depths[std::ptrdiff_t{row} * step * depthPitch + std::ptrdiff_t{column} * step];
    }
    /// Returns a part of the pixels.
    PixelGrid part(int column, int row, int width, int height) const;
};

/// Computes the colours that a volume has in pixels. @threads any number.
class RayCaster {
public:
    /// Keeps a reference to @p draw, whose number of steps may differ from its actor's.
    explicit RayCaster(const VolumeDraw& draw);

    /// Computes the colours of pixels, multiplied by their coverage and without tint. Four rows at once take
    /// less time than one after the other.
    /// @param colors  receives the colours; those of a row begin @p pitch after those of the row above.
    void cast(const PixelGrid& pixels, Rgba* colors, std::ptrdiff_t pitch) const;

private:
    const VolumeDraw& m_draw;
    const bool m_hasColors;
    const bool m_usesVectors;
};

/// A ray ends at this coverage; what follows would not be seen.
inline constexpr float kOpaqueCoverage = 0.9980392f;

/// Computes the colours of up to kMostPixels pixels, in rows of lanesPerRow(); draw.colors is valid for
/// classified volumes. This function defines every result: it uses plain arithmetic on one ray at a time and
/// skips nothing. @param pitch  from a row of @p colors to the next.
void castPlainRays(const VolumeDraw& draw, const PixelGrid& pixels, Rgba* colors, std::ptrdiff_t pitch);
/// Computes the same colours with vector instructions, for volumes of up to 2^32 voxels, 65,535 on a side.
void castVectorRays(const VolumeDraw& draw, const PixelGrid& pixels, Rgba* colors, std::ptrdiff_t pitch);

} // namespace qel::internal
