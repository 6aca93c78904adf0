// The planes of a format: their formats, sizes, pitches and places in packed memory.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/types.h>
#include <qel/imaging/pixels/image_format.h>

#include <array>

namespace qel::internal {

/// One plane in packed memory.
struct PlaneLayout {
    FormatID format = UnknownFormat; ///< format of the plane
    IVec2<int> size;                 ///< pixels
    uint64 pitch = 0;                ///< bytes from one row to the next
    uint64 offset = 0;               ///< first byte, from the beginning of the memory

    /// Returns the bytes of the plane.
    uint64 byteSize() const { return pitch * static_cast<uint64>(size.y); }
};

/// All planes of an image in packed memory.
struct ImageLayout {
    unsigned planes = 0;              ///< valid entries of plane
    std::array<PlaneLayout, 3> plane; ///< the planes
    uint64 bytes = 0;                 ///< bytes of the whole memory
    bool valid = false;               ///< whether an image of this format and size may exist
};

/// Largest pitch and largest size of a plane in bytes.
inline constexpr uint64 kMaxPitch = 0x7FFFFFFF;
inline constexpr uint64 kMaxPlaneBytes = 0xFFFFFFFF;

/// Returns the bytes of @p width pixels. @pre the format is known and the width not negative.
inline uint64 rowBytes(FormatID format, int width) {
    return static_cast<uint64>(util::getFormatSizeBits(format)) * static_cast<uint64>(width) >> 3;
}

/// Computes the layout; not valid for an unknown format, a negative side, or planes that are too large.
ImageLayout layoutOf(FormatID format, const IVec2<int>& size);

} // namespace qel::internal
