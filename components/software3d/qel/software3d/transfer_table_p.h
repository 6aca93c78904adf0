// Lookup tables as rays read them.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/imaging/pixels/image.h>
#include <qel/render/texture.h>
#include <qel/software3d/pixel_blend_p.h>

#include <cstddef>

namespace qel::internal {

/// Places between two texels are rounded down to this part of their distance.
inline constexpr int kTexelParts = 1 << 14;

/// The channels R, G, B and A of two neighbouring texels.
struct TexelPair {
    int16 channels[4][2];
};

/// The texels of a texture that is read between two of them.
struct TransferTexels {
    SmartPointer<Image> image; ///< RGBA8; null if the table is missing
    bool isLinear = true;
    int size = 0; ///< texels on a side; 0 if the table is missing
    /// Each texel of the line, or of the square's diagonal, with the next one; the last one with itself.
    Vector<TexelPair> pairs;
    /// For each texel: the first texel from there on, in both directions, that is not clear.
    Vector<int> nextOpaque;
    /// True if parts of the square are clear wherever the diagonal is.
    bool followsDiagonal = true;

    /// Reads the RGBA8 pixels of a texture of the software renderer; others, and null, count as missing.
    TransferTexels(Texture* texture, bool isSquare);

    /// Returns where a coordinate lies, in texels from the centre of the first one.
    float place(float t) const;
    /// Returns the number of the lower texel of the two around a place.
    int lower(float place) const;
    /// Returns the number of the last texel that can be the lower one of two.
    int lastLower() const { return size > 1 ? size - 2 : 0; }
    /// Returns true if the alphas between two places are exactly 0.
    bool isClear(float low, float high) const;
};

/// A table of one row, and the square table of the means between two of its values.
///
/// Texture coordinates are those of the textures: 0 to 1, with texel centres half a texel inside. Coordinates
/// outside are limited; those that are not finite count as 0.5.
class TransferTable {
public:
    /// Reads the textures; either may be missing.
    TransferTable(Texture* line, Texture* square);

    /// Returns true if colours can be read. @param means  whether by mean().
    bool isValid(bool means) const { return texels(means).size > 0; }
    /// Returns true if other textures would make the same table.
    bool isMadeOf(Texture* line, Texture* square) const;

    /// Returns the colour at a coordinate.
    Rgba at(float t) const;
    /// Returns the mean colour between two coordinates, without the bias of the square table, which leaves
    /// out the start of an interval. Converges to the integral for small steps.
    Rgba mean(float t0, float t1) const;
    /// Returns true if at(), or mean(), has an alpha of exactly 0 between two coordinates.
    bool isClear(float t0, float t1, bool means) const;

    /// Returns the texels that at(), or mean(), reads.
    const TransferTexels& texels(bool means) const { return means ? m_square : m_line; }

private:
    TransferTexels m_line;
    TransferTexels m_square;
};

} // namespace qel::internal
