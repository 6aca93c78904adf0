// Simple operations on the pixels of RGB8 and RGBA8 pictures.
#pragma once

#include <qel/imaging/pixels/image.h>

namespace qelimage {

/// Returns true if no pixel is transparent.
bool isOpaque(const qel::Image& image);
/// Makes an RGB8 picture an opaque RGBA8 one. @return false if there is no memory, which is logged.
bool convertToRgba(qel::Image& image);
/// Multiplies the colours of an RGBA8 picture by its alpha, so that they can be averaged.
void multiplyByAlpha(qel::Image& image);
/// Reverses multiplyByAlpha().
void divideByAlpha(qel::Image& image);
/// Returns @p image as RGB8, with each of its single-byte pixels as a square of @p side pixels.
qel::Image enlarged(const qel::Image& image, int side);

} // namespace qelimage
