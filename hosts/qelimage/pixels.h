// Simple operations on the pixels of RGB8 and RGBA8 pictures.
#pragma once

#include <qel/imaging/pixels/image.h>

namespace qelimage {

/// Returns true if no pixel is transparent.
bool isOpaque(const qel::Image& image);
/// Makes an RGB8 picture an opaque RGBA8 one. @return false if there is no memory, which is logged.
bool convertToRgba(qel::Image& image);
/// Makes a BGRA8 picture an opaque RGB8 one. @return false if there is no memory, which is logged.
bool convertToRgb(qel::Image& image);
/// Resizes a picture. Where it is transparent, its colours count by their alpha.
/// @return false if there is no memory, which is logged.
bool resizePicture(qel::Image& image, const qel::IVec2<int>& size);
/// Returns @p image as RGB8, with each of its single-byte pixels as a square of @p side pixels.
qel::Image enlarged(const qel::Image& image, int side);

} // namespace qelimage
