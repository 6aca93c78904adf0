// copyGlyphBitmap: converts the pictures of glyphs to alpha.
#pragma once

#include <qel/foundation/base/types.h>

#include <ft2build.h>

#include <freetype/freetype.h>

namespace qel::internal {

/// Copies a bitmap in grey, in 1, 2 or 4 bits per pixel, or the alpha of one in colour.
/// @param target  the first of as many rows as the bitmap has.
/// @return false for other kinds of pixels; nothing is written.
bool copyGlyphBitmap(const FT_Bitmap& bitmap, uint8* target, size_t targetPitch);

} // namespace qel::internal
