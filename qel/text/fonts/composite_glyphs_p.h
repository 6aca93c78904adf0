// hasSmallComposites: finds fonts whose composite glyphs would not end or crash.
#pragma once

#include <ft2build.h>

#include <freetype/freetype.h>

namespace qel::internal {

/// Checks the glyphs of a face that consist of other glyphs. FreeType loads their parts by recursion without
/// a limit: a file of 2 KiB can state 2^40 parts, and a chain of 60,000 overflows the stack.
/// @return false if a glyph has more than 128 parts, with the parts of parts, more than 16 levels of them, or
///         contains itself.
bool hasSmallComposites(FT_Face face);

} // namespace qel::internal
