// The picture of a volume before it is drawn on the target.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/imaging/pixels/image.h>
#include <qel/software3d/pixel_blend_p.h>

namespace qel::internal {

/// Divides an area of the target into tiles of at most 32 by 32 pixels.
struct TileGrid {
    static constexpr int kTile = 32; ///< the largest width and height

    TileGrid() = default;
    explicit TileGrid(const IVec4<int>& pixels);
    /// Returns the number of tiles.
    int count() const { return columns * rows; }
    /// Returns the pixels of a tile.
    IVec4<int> at(int tile) const;
    /// Returns the numbers of all tiles, those nearest to the centre first.
    Vector<int> fromCentre() const;

    IVec4<int> area;
    int columns = 0;
    int rows = 0;
};

/// The colours of an area of the target, known at pixels that are some distance apart.
class SampledArea {
public:
    SampledArea() = default;
    /// Starts with all pixels transparent. @p area contains at least one pixel.
    SampledArea(const IVec4<int>& area, int step);

    /// Returns true if nothing is known.
    bool isEmpty() const { return m_colors.empty(); }
    /// Returns the distance between known pixels.
    int getStep() const { return m_step; }
    /// Returns the numbers of known pixels in a row and of rows.
    const IVec2<int>& getCount() const { return m_count; }
    /// Returns the position of the first known pixel of a row.
    IVec2<int> placeOf(int row) const { return {m_first.x, m_first.y + row * m_step}; }
    /// Returns the colours of a row.
    Rgba* rowAt(int row);
    /// Returns the colours of a row.
    const Rgba* rowAt(int row) const;
    /// Draws @p part of the area on @p target, with colours in between interpolated.
    void draw(Image& target, const IVec4<int>& part, const IVec4<float>& tint) const;

private:
    void interpolate(int x, int y, int count, Rgba* colors) const;

    int m_step = 1;
    IVec2<int> m_first;
    IVec2<int> m_count;
    Vector<Rgba> m_colors;
};

/// A picture whose tiles become finer one by one.
class VolumePicture {
public:
    /// Begins with a coarse picture, which covers the area, and no tiles.
    void start(const IVec4<int>& area, SampledArea&& coarse);
    /// Sets the content of a tile, unless a finer one is known.
    void setTile(int tile, SampledArea&& content);
    /// Draws the picture on @p target, which is BGRA8, on all processors.
    void draw(Image& target, const IVec4<float>& tint) const;

private:
    TileGrid m_grid;
    SampledArea m_coarse;
    Vector<SampledArea> m_tiles;
};

/// Draws a row of colours on BGRA8 pixels.
void blendRow(uint8* pixels, const Rgba* colors, int count, const IVec4<float>& tint);

} // namespace qel::internal
