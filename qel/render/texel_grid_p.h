// TexelGrid: where the pixels of a texture's target rectangle lie in the texture.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/rect.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace qel::internal {

/// Returns floor(v), for coordinates faster than the C library does.
inline double wholeBelow(double v) {
    if (!(std::fabs(v) < 1e9)) return std::floor(v);
    const auto whole = static_cast<double>(static_cast<int>(v));
    return whole > v ? whole - 1 : whole;
}

/// The two texels on an axis between which a point lies, and how far it is from the first to the second.
/// Nearest sampling uses the first alone.
struct TexelStep {
    int first;
    int second;
    float fraction;
};

/// A coordinate in texels that grows evenly with the pixels. Indices are limited to the texture, so that its
/// edge repeats.
struct TexelAxis {
    double start = 0; ///< at the first pixel
    double step = 0;
    int size = 0;

    /// Returns the texels of pixel @p i if the axis runs along the columns of the target.
    TexelStep linearColumn(int i) const { return linear((start - 0.5) + i * step); }
    /// Returns the texels of pixel @p i if the axis runs along the rows.
    TexelStep linearRow(int i) const { return linear((start + i * step) - 0.5); }
    /// Returns the texel that contains the point of pixel @p i.
    TexelStep nearest(int i) const {
        const int index = limited(wholeBelow(start + i * step));
        return {index, index, 0};
    }

private:
    TexelStep linear(double coordinate) const {
        const double whole = wholeBelow(coordinate);
        return {limited(whole), limited(whole + 1), static_cast<float>(coordinate - whole)};
    }
    int limited(double index) const {
        return static_cast<int>(std::clamp(index, 0.0, static_cast<double>(size - 1)));
    }
};

/// The axes of a draw. Rows and columns of the target run along different axes of the texture.
struct TexelGrid {
    bool isLinear = false;
    bool columnsAlongV = false; ///< true for odd orientations
    TexelAxis columns;          ///< u, or v if columnsAlongV
    TexelAxis rows;             ///< v, or u if columnsAlongV

    /// Computes the axes.
    /// @param target       the rounded target rectangle, which is not empty.
    /// @param area         the part of it that is drawn; the grid counts from its left top corner.
    /// @param isBilinear   ask for bilinear sampling; it is not used where it would change nothing.
    /// @param orientation  0 to 7.
    static TexelGrid of(const Rect& source, const IVec4<int>& target, const IVec4<int>& area, int orientation,
                        const IVec2<int>& textureSize, bool isBilinear);

    /// Returns the first texel of an area of @p size pixels that shows as many texels as they lie in the
    /// texture; nothing for other draws.
    std::optional<IVec2<int>> shift(const IVec2<int>& size) const;

    TexelStep column(int i) const { return isLinear ? columns.linearColumn(i) : columns.nearest(i); }
    TexelStep row(int i) const { return isLinear ? rows.linearRow(i) : rows.nearest(i); }

private:
    void snapToTexels();
};

} // namespace qel::internal
