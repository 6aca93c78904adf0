// Conversions of rows to 16-bit colours with an ordered dither.
#pragma once

#include <qel/foundation/base/types.h>

#include <array>

namespace qel::internal {

/// What is added to the bytes of eight neighbouring pixels of a row before they lose their lower bits, in the
/// order R, G, B, A.
using DitherLanes = std::array<std::array<uint8, 4>, 8>;

/// The three 16-bit formats.
enum class Dithered { Rgb565, Rgba4, Rgba5551 };

/// Returns the lanes of row @p y of an image.
const DitherLanes& ditherLanes(Dithered format, uint64 y);

/// Converts a row of @p n 4-byte pixels. @param lanes  in the order of the bytes of the source.
using DitherRowFunction = void(uint8* out, const uint8* in, size_t n, const DitherLanes& lanes);

DitherRowFunction rowRgbaTo565;  ///< RGBA8 to RGB565
DitherRowFunction rowBgraTo565;  ///< BGRA8 to RGB565
DitherRowFunction rowRgbaTo4;    ///< RGBA8 to RGBA4
DitherRowFunction rowBgraTo4;    ///< BGRA8 to RGBA4
DitherRowFunction rowRgbaTo5551; ///< RGBA8 to RGBA5551
DitherRowFunction rowBgraTo5551; ///< BGRA8 to RGBA5551
DitherRowFunction rowRgbTo565;   ///< RGB8 to RGB565
DitherRowFunction rowBgrTo565;   ///< BGR8 to RGB565

} // namespace qel::internal
