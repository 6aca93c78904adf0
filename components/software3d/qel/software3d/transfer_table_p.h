// Lookup tables as rays read them.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/imaging/pixels/image.h>
#include <qel/render/texture.h>
#include <qel/software3d/pixel_blend_p.h>

namespace qel::internal {

/// A table of one row, and the square table of the means between two of its values.
///
/// Texture coordinates are those of the textures: 0 to 1, with texel centres half a texel inside. Coordinates
/// outside are limited; those that are not finite count as 0.5.
class TransferTable {
public:
    /// Reads the RGBA8 pixels of textures of the software renderer; others, and null, count as missing.
    TransferTable(Texture* line, Texture* square);

    /// Returns true if colours can be read. @param means  whether by mean().
    bool isValid(bool means) const { return means ? m_square.size > 0 : m_line.size > 0; }
    /// Returns true if other textures would make the same table.
    bool isMadeOf(Texture* line, Texture* square) const;

    /// Returns the colour at a coordinate.
    Rgba at(float t) const;
    /// Returns the mean colour between two coordinates, without the bias of the square table, which leaves
    /// out the start of an interval. Converges to the integral for small steps.
    Rgba mean(float t0, float t1) const;
    /// Returns true if at(), or mean(), has an alpha of exactly 0 between two coordinates.
    bool isClear(float t0, float t1, bool means) const;

private:
    struct Texels {
        SmartPointer<Image> image;
        bool isLinear = true;
        int size = 0; ///< texels on a side; 0 if the table is missing
        /// For each texel: the first texel from there on, in both directions, that is not clear.
        Vector<int> nextOpaque;

        Texels(Texture* texture, bool isSquare);
        float place(float t) const;
        bool isClear(float low, float high) const;
    };

    Rgba line(float place) const;
    Rgba square(float row, float column) const;
    Rgba diagonal(float place) const;

    Texels m_line;
    Texels m_square;
};

} // namespace qel::internal
